#include "AccountFileName.h"

namespace teskal {

QString accountFileName(const QString& owner) {
    // The four unreserved signs would stay otherwise; a name must not begin with a dot or hold "..".
    const QByteArray encoded = owner.toUtf8().toPercentEncoding(QByteArray(), "-._~");
    return encoded.isEmpty() ? QStringLiteral("account") : QString::fromLatin1(encoded);
}

} // namespace teskal
