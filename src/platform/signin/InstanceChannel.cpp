#include "InstanceChannel.h"

#include "CallbackLink.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

constexpr qsizetype maxTokenLength = 256;
constexpr std::array<std::pair<const char*, InstanceMessage::Verb>, 4> words{
    {{"activate", InstanceMessage::Verb::Activate},
     {"new-chat", InstanceMessage::Verb::NewChat},
     {"quit", InstanceMessage::Verb::Quit},
     {"link", InstanceMessage::Verb::OpenLink}}};

bool isWord(const QByteArray& token) {
    return token.size() <= maxTokenLength &&
           std::all_of(token.cbegin(), token.cend(), [](char c) { return c > ' ' && c < 0x7F; });
}

} // namespace

InstanceMessage InstanceMessage::openLink(const QUrl& callbackLink) {
    InstanceMessage message(Verb::OpenLink);
    message.link_ = callbackLink;
    return message;
}

void InstanceMessage::setActivationToken(const QByteArray& token) {
    token_ = isWord(token) ? token : QByteArray();
}

std::optional<InstanceMessage> InstanceMessage::fromLine(const QByteArray& line) {
    const QByteArrayList fields = line.split('\t');
    const auto word = std::find_if(words.cbegin(), words.cend(),
                                   [&](const auto& known) { return fields.first() == known.first; });
    if (word == words.cend())
        return std::nullopt;
    InstanceMessage message(word->second);
    const bool hasLink = message.verb_ == Verb::OpenLink;
    if (fields.size() != (hasLink ? 3 : 2) || !isWord(fields[1]))
        return std::nullopt;
    message.token_ = fields[1];
    if (!hasLink)
        return message;
    const std::optional<QUrl> link = callbackLinkFrom(QString::fromUtf8(fields[2]));
    if (!link)
        return std::nullopt;
    message.link_ = *link;
    return message;
}

QByteArray InstanceMessage::toLine() const {
    const auto word = std::find_if(words.cbegin(), words.cend(),
                                   [this](const auto& known) { return known.second == verb_; });
    QByteArray line = QByteArray(word->first) + '\t' + token_;
    if (verb_ == Verb::OpenLink)
        line += '\t' + link_.toEncoded();
    return line;
}

QString instanceSocketPath(const QString& lockFile) {
    const QByteArray id =
        QCryptographicHash::hash(QFileInfo(lockFile).absoluteFilePath().toUtf8(), QCryptographicHash::Sha256);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return folder + QStringLiteral("/teskal-") + QString::fromLatin1(id.left(8).toHex());
}

} // namespace teskal
