#include "ConversationHistory.h"

namespace teskal {

namespace {

bool isSent(const ChatMessage& message) {
    if (message.error) {
        const bool cutOff = message.error->code == QLatin1String("CUT_OFF");
        if (!cutOff || message.content.isEmpty())
            return false;
    }
    const bool isEmpty = message.content.isEmpty() && message.attachments.isEmpty() && !message.media;
    return !message.pending && !isEmpty;
}

QString describe(const Media& media) {
    QString what = QStringLiteral("an image");
    if (media.isVideo())
        what = QStringLiteral("a video");
    else if (media.isSong())
        what = QStringLiteral("a song");
    const QString prompt = media.prompt ? QStringLiteral(": ") + *media.prompt : QString();
    return QStringLiteral("[Teskal generated ") + what + prompt + QLatin1Char(']');
}

/// The image of \a media as an attachment; none when it is neither stored nor inline.
std::optional<Attachment> asAttachment(const Media& media) {
    Attachment attachment;
    attachment.name = QStringLiteral("generated-image.png");
    attachment.mediaType = media.mediaType.value_or(QStringLiteral("image/png"));
    if (media.fileId) {
        attachment.fileId = media.fileId;
        return attachment;
    }
    const QString prefix = QStringLiteral("data:");
    if (!media.url || !media.url->startsWith(prefix))
        return std::nullopt;
    const qsizetype end = media.url->indexOf(QLatin1Char(';'));
    attachment.mediaType = end > prefix.size() ? media.url->mid(prefix.size(), end - prefix.size())
                                               : QStringLiteral("image/png");
    attachment.dataUrl = media.url;
    return attachment;
}

ChatMessage withMediaTold(ChatMessage message) {
    if (message.role != Role::Assistant || !message.media)
        return message;
    if (message.content.isEmpty())
        message.content = describe(*message.media);
    if (message.media->type == QLatin1String("image"))
        if (const auto attachment = asAttachment(*message.media))
            message.attachments.append(*attachment);
    return message;
}

} // namespace

QList<ChatMessage> conversationHistory(const QList<ChatMessage>& messages) {
    QList<ChatMessage> history;
    for (const ChatMessage& message : messages)
        if (isSent(message))
            history.append(withMediaTold(message));
    return history;
}

} // namespace teskal
