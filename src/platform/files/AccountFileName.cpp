#include "AccountFileName.h"

#include <QCryptographicHash>

namespace teskal {

namespace {

constexpr qsizetype longestName = 200; ///< bytes; file systems take 255, and endings follow
constexpr qsizetype keptPrefix = 120;

} // namespace

QString accountFileName(const QString& owner) {
    // The four unreserved signs would stay otherwise; a name must not begin with a dot or hold "..".
    QByteArray encoded = owner.toUtf8().toPercentEncoding(QByteArray(), "-._~");
    if (encoded.size() > longestName) // no short name has a "-", so that the two kinds never meet
        encoded = encoded.left(keptPrefix) + '-' +
                  QCryptographicHash::hash(encoded, QCryptographicHash::Sha256).toHex();
    return encoded.isEmpty() ? QStringLiteral("account") : QString::fromLatin1(encoded);
}

} // namespace teskal
