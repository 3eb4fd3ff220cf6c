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

void ChatArrayWriter::append(const Chat& chat) {
    json::writeValue(writer_, chat);
}

QByteArray ChatArrayWriter::take() {
    writer_.endArray();
    return writer_.take();
}

} // namespace teskal
