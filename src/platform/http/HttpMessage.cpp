#include "HttpMessage.h"

namespace teskal {

std::optional<QByteArray> HttpHeaders::value(const QByteArray& name) const {
    for (const auto& [field, text] : fields_) {
        if (field.compare(name, Qt::CaseInsensitive) == 0)
            return text;
    }
    return std::nullopt;
}

} // namespace teskal
