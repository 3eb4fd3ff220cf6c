#include "Pkce.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace teskal::pkce {

namespace {

QString base64Url(const QByteArray& bytes) {
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace

QString randomURLSafe(qsizetype byteCount) {
    QByteArray bytes(byteCount, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(QRandomGenerator::system()->bounded(256));
    return base64Url(bytes);
}

QString challenge(const QString& verifier) {
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

} // namespace teskal::pkce
