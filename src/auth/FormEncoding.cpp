#include "FormEncoding.h"

#include <QUrl>

namespace teskal {

QByteArray formEncoded(const FormFields& fields) {
    QByteArray encoded;
    for (const auto& [name, value] : fields) {
        if (!encoded.isEmpty())
            encoded += '&';
        encoded += QUrl::toPercentEncoding(name);
        encoded += '=';
        encoded += QUrl::toPercentEncoding(value);
    }
    return encoded;
}

} // namespace teskal
