#include "Chat.h"

#include "ArrayScanner.h"
#include "Fields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(Chat);

QList<Chat> decodeChats(QByteArrayView text) {
    QList<Chat> chats;
    json::ArrayScanner elements(text);
    ChatDecoder decoder;
    while (const auto element = elements.next())
        chats.append(decoder.decode(*element, text.end() - element->end()));
    return chats;
}

QByteArray encodeChats(const QList<Chat>& chats) {
    JsonWriter writer;
    json::writeValue(writer, chats);
    return writer.take();
}

QByteArrayView ChatEncoder::encode(const Chat& chat) {
    writer_.clear();
    json::writeValue(writer_, chat);
    return writer_.text();
}

ChatDecoder::ChatDecoder() : reader_(std::make_unique<json::JsonText>()) {}

ChatDecoder::~ChatDecoder() = default;

Chat ChatDecoder::decode(QByteArrayView text, qsizetype readableAfter) {
    Chat chat;
    json::readValue(reader_->parse(text, readableAfter), chat, Source::LocalFile);
    return chat;
}

} // namespace teskal
