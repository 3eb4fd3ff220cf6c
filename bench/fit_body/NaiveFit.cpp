#include "NaiveFit.h"

#include "FitBody.h"

#include <algorithm>

namespace teskal::bench {

namespace {

QByteArray serialised(const QList<OutgoingMessage>& messages) {
    QByteArray array = "[";
    for (const OutgoingMessage& message : messages) {
        if (array.size() > 1)
            array.append(',');
        array.append(encodeOutgoing(message));
    }
    return array.append(']');
}

bool hasImage(const OutgoingMessage& message) {
    return std::any_of(message.attachments.begin(), message.attachments.end(),
                       [](const auto& file) { return file.mediaType.startsWith(QLatin1String("image/")); });
}

} // namespace

QByteArray naiveFit(QList<OutgoingMessage> messages) {
    std::optional<qsizetype> lastImage;
    for (qsizetype i = 0; i < messages.size(); ++i)
        if (hasImage(messages[i]))
            lastImage = i;
    for (qsizetype i = 0; i < messages.size() - messagesWithFiles; ++i)
        messages[i] = strip(messages[i], i, lastImage);
    for (qsizetype k = 0; k <= messages.size() - 2 && serialised(messages).size() > bodyLimit; ++k)
        messages[k] = strip(messages[k], std::nullopt, lastImage);
    return serialised(messages);
}

} // namespace teskal::bench
