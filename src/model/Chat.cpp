#include "Chat.h"

#include "ArrayScanner.h"
#include "Fields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(Chat);

QList<Chat> decodeChats(QByteArrayView text) {
    QList<Chat> chats;
    json::ArrayScanner elements(text);
    json::JsonText reader;
    while (const auto element = elements.next()) {
        const qsizetype readableAfter = text.end() - element->end();
        json::readValue(reader.parse(*element, readableAfter), chats.emplaceBack(), Source::LocalFile);
    }
    return chats;
}

QByteArray encodeChats(const QList<Chat>& chats) {
    ChatArrayWriter writer;
    for (const Chat& chat : chats)
        writer.append(chat);
    return writer.take();
}

void encodeChats(const QList<Chat>& chats, const std::function<void(QByteArrayView)>& put) {
    constexpr qsizetype piece = 1 << 20; // bytes; small enough to stay in the processor's cache
    JsonWriter writer;
    writer.beginArray();
    for (const Chat& chat : chats) {
        json::writeValue(writer, chat);
        if (writer.size() >= piece)
            writer.drain(put);
    }
    writer.endArray();
    writer.drain(put);
}

void ChatArrayWriter::append(const Chat& chat) {
    json::writeValue(writer_, chat);
}

QByteArray ChatArrayWriter::take() {
    writer_.endArray();
    return writer_.take();
}

} // namespace teskal
