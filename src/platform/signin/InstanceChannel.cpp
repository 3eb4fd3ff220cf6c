#include "InstanceChannel.h"

#include "CallbackLink.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QStandardPaths>

namespace teskal {

namespace {

constexpr char activateLine[] = "activate";
constexpr char linkPrefix[] = "link ";

} // namespace

InstanceMessage InstanceMessage::link(const QUrl& callbackLink) {
    InstanceMessage message;
    message.link_ = callbackLink;
    return message;
}

std::optional<InstanceMessage> InstanceMessage::fromLine(const QByteArray& line) {
    if (line == activateLine)
        return activate();
    if (!line.startsWith(linkPrefix))
        return std::nullopt;
    const auto url = callbackLinkFrom(QString::fromUtf8(line.mid(qsizetype(qstrlen(linkPrefix)))));
    return url ? std::optional(link(*url)) : std::nullopt;
}

QByteArray InstanceMessage::toLine() const {
    return link_ ? linkPrefix + link_->toEncoded() : QByteArray(activateLine);
}

QString instanceSocketPath(const QString& lockFile) {
    const QByteArray id =
        QCryptographicHash::hash(QFileInfo(lockFile).absoluteFilePath().toUtf8(), QCryptographicHash::Sha256);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return folder + QStringLiteral("/teskal-") + QString::fromLatin1(id.left(8).toHex());
}

} // namespace teskal
