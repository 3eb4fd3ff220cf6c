#include "FitBody.h"

#include <QStringList>

namespace teskal {

namespace {

bool hasImage(const OutgoingMessage& message) {
    return std::any_of(
        message.attachments.begin(), message.attachments.end(),
        [](const OutgoingAttachment& file) { return file.mediaType.startsWith(QLatin1String("image/")); });
}

std::optional<qsizetype> lastImagePosition(const QList<OutgoingMessage>& messages) {
    for (qsizetype i = messages.size() - 1; i >= 0; --i)
        if (hasImage(messages[i]))
            return i;
    return std::nullopt;
}

/// The encoded messages and their joint size, which is a lower bound until every message is encoded.
class Sizes {
public:
    explicit Sizes(const QList<OutgoingMessage>& messages) : messages_(messages), encoded_(messages.size()) {
        total_ = 2 + std::max<qsizetype>(0, messages.size() - 1); // brackets and commas
        for (const OutgoingMessage& message : messages)
            total_ += leastEncodedSize(message);
    }

    bool exceed(qsizetype limit) {
        // From the end: what comes first is what will be left out next.
        while (total_ <= limit && firstEncoded_ > 0)
            encode(--firstEncoded_);
        return total_ > limit;
    }

    void replaced(qsizetype index, const OutgoingMessage& before) {
        if (index < firstEncoded_) {
            total_ += leastEncodedSize(messages_[index]) - leastEncodedSize(before);
            return;
        }
        total_ -= encoded_[index].size();
        total_ += leastEncodedSize(messages_[index]);
        encode(index);
    }

    QByteArray joined() {
        while (firstEncoded_ > 0)
            encode(--firstEncoded_);
        QByteArray array;
        array.reserve(total_);
        array.append('[');
        for (const QByteArray& message : encoded_) {
            if (array.size() > 1)
                array.append(',');
            array.append(message);
        }
        array.append(']');
        return array;
    }

private:
    void encode(qsizetype index) {
        encoded_[index] = encodeOutgoing(messages_[index]);
        total_ += encoded_[index].size() - leastEncodedSize(messages_[index]);
    }

    const QList<OutgoingMessage>& messages_;
    QList<QByteArray> encoded_;
    qsizetype firstEncoded_ = messages_.size();
    qsizetype total_;
};

} // namespace

OutgoingMessage strip(const OutgoingMessage& message, std::optional<qsizetype> position,
                      std::optional<qsizetype> lastImage) {
    if (message.attachments.isEmpty() || position == lastImage)
        return message;
    QStringList markers;
    for (const OutgoingAttachment& file : message.attachments)
        markers.append(QStringLiteral("[attached earlier: %1]")
                           .arg(file.name.isEmpty() ? QStringLiteral("file") : file.name));
    OutgoingMessage stripped;
    stripped.role = message.role;
    stripped.content = message.content.isEmpty()
                           ? markers.join(QLatin1Char(' '))
                           : message.content + QStringLiteral("\n\n") + markers.join(QLatin1Char(' '));
    return stripped;
}

QByteArray fitBody(QList<OutgoingMessage> messages) {
    const std::optional<qsizetype> lastImage = lastImagePosition(messages);
    for (qsizetype i = 0; i < messages.size() - messagesWithFiles; ++i)
        messages[i] = strip(messages[i], i, lastImage);

    Sizes sizes(messages);
    if (!lastImage)
        return sizes.joined(); // strip() would leave every message as it is
    for (qsizetype k = 0; k <= messages.size() - 2; ++k) {
        if (messages[k].attachments.isEmpty())
            continue;
        if (!sizes.exceed(bodyLimit))
            break;
        const OutgoingMessage before = messages[k];
        messages[k] = strip(before, std::nullopt, lastImage);
        sizes.replaced(k, before);
    }
    return sizes.joined();
}

} // namespace teskal
