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
    JsonWriter writer;
    json::writeValue(writer, chats);
    return writer.take();
}

} // namespace teskal
