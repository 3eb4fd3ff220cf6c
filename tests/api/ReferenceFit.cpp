#include "ReferenceFit.h"

#include <algorithm>

namespace teskal::test {

namespace {

struct File {
    QByteArray name;
    QByteArray mediaType;
    QByteArray key;
    QByteArray value;
};

struct Message {
    QByteArray role;
    QByteArray content;
    QList<File> files;
};

QByteArray escaped(char c) {
    switch (c) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
    case '\\':
        return QByteArray("\\") + c;
    default:
        return "\\u00" + QByteArray(1, c).toHex();
    }
}

QByteArray quoted(const QByteArray& text) {
    QByteArray out = "\"";
    const char* const end = text.cend();
    for (const char* at = text.cbegin(); at != end;) {
        const char* const special =
            std::find_if(at, end, [](char c) { return uchar(c) < 0x20 || c == '"' || c == '\\'; });
        out.append(at, special - at);
        if (special != end)
            out.append(escaped(*special));
        at = special == end ? end : special + 1;
    }
    return out.append('"');
}

QByteArray serialised(const QList<Message>& messages) {
    QByteArrayList objects;
    for (const Message& message : messages) {
        QByteArrayList files;
        for (const File& file : message.files)
            files.append("{\"mediaType\":" + quoted(file.mediaType) + ",\"" + file.key +
                         "\":" + quoted(file.value) + "}");
        const QByteArray attachments = files.isEmpty() ? "" : ",\"attachments\":[" + files.join(',') + "]";
        objects.append("{\"role\":" + quoted(message.role) + ",\"content\":" + quoted(message.content) +
                       attachments + "}");
    }
    return "[" + objects.join(',') + "]";
}

Message outgoing(const ChatMessage& message) {
    Message out{message.role == Role::User ? "user" : "assistant", message.content.toUtf8(), {}};
    for (const Attachment& file : message.attachments) {
        if (file.fileId)
            out.files.append({file.name.toUtf8(), file.mediaType.toUtf8(), "fileId", file.fileId->toUtf8()});
        else if (file.dataUrl)
            out.files.append(
                {file.name.toUtf8(), file.mediaType.toUtf8(), "dataUrl", file.dataUrl->toUtf8()});
    }
    return out;
}

/// \a position and \a lastImage are -1 for "none", and two that are none are equal.
Message stripped(const Message& message, qsizetype position, qsizetype lastImage) {
    if (message.files.isEmpty() || position == lastImage)
        return message;
    QByteArrayList markers;
    for (const File& file : message.files)
        markers.append("[attached earlier: " + (file.name.isEmpty() ? QByteArray("file") : file.name) + "]");
    QByteArrayList parts{message.content, markers.join(' ')};
    parts.removeAll(QByteArray());
    return {message.role, parts.join("\n\n"), {}};
}

bool hasImage(const Message& message) {
    for (const File& file : message.files)
        if (file.mediaType.startsWith("image/"))
            return true;
    return false;
}

} // namespace

QByteArray referenceFit(const QList<ChatMessage>& conversation) {
    QList<Message> messages;
    for (const ChatMessage& message : conversation)
        messages.append(outgoing(message));
    const qsizetype count = messages.size();
    qsizetype lastImage = -1;
    for (qsizetype i = 0; i < count; ++i)
        if (hasImage(messages[i]))
            lastImage = i;
    for (qsizetype i = 0; i < count - 6; ++i)
        messages[i] = stripped(messages[i], i, lastImage);
    for (qsizetype k = 0; k <= count - 2 && serialised(messages).size() > 4'000'000; ++k)
        messages[k] = stripped(messages[k], -1, lastImage);
    return serialised(messages);
}

} // namespace teskal::test
