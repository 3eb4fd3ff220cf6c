#include "ReadFloor.h"

#include <simdjson.h>

#include <stdexcept>

namespace teskal::bench {

ReadFloor::ReadFloor(const QList<Chat>& chats) {
    for (const Chat& chat : chats) {
        add(chat.id);
        add(chat.title);
        for (const ChatMessage& message : chat.messages) {
            add(message.id);
            add(message.content);
            for (const Attachment& attachment : message.attachments) {
                add(attachment.name);
                add(attachment.mediaType);
                add(attachment.dataUrl.value_or(QString()));
            }
        }
    }
}

void ReadFloor::add(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    texts_.append(utf8);
    sizes_.push_back(utf8.size());
}

std::vector<QString> ReadFloor::run(QByteArrayView file) const {
    if (!simdjson::validate_utf8(file.data(), std::size_t(file.size())))
        throw std::runtime_error("the generated file is not UTF-8");
    std::vector<QString> strings;
    strings.reserve(sizes_.size());
    const char* at = texts_.constData();
    for (const qsizetype size : sizes_) {
        strings.push_back(QString::fromUtf8(at, size));
        at += size;
    }
    return strings;
}

} // namespace teskal::bench
