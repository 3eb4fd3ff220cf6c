#include "Library.h"

#include "ChatGenerator.h"

#include <algorithm>
#include <cmath>

namespace teskal::bench {

namespace {

constexpr int chatCount = 5'000;
constexpr qint64 textOfOne = 13'800; ///< bytes at least
constexpr double span = 730.0 * 86'400'000;
constexpr int folderCount = 12;
constexpr int inOneFolder = 25;

qint64 bytesOf(const Chat& chat) {
    qint64 bytes = chat.title.toUtf8().size();
    for (const ChatMessage& message : chat.messages)
        bytes += message.content.toUtf8().size();
    return bytes;
}

Chat largeChat(ChatGenerator& generator) {
    Chat chat = generator.chat();
    while (bytesOf(chat) < textOfOne)
        chat.messages.append(generator.chat().messages);
    for (ChatMessage& message : chat.messages)
        message.attachments.clear();
    return chat;
}

} // namespace

Library::Library() {
    store.claim(QStringLiteral("account"));
    folders.claim(QStringLiteral("account"), std::nullopt);
    ChatGenerator generator;
    QStringList ids;
    for (int number = 0; number < chatCount; ++number) {
        Chat chat = largeChat(generator);
        chat.id = QStringLiteral("00000000-0000-4000-8000-%1").arg(number, 12, 10, QLatin1Char('0'));
        chat.createdAt = chat.updatedAt = std::floor(clock.nowMs() - span * number / chatCount);
        ids.append(chat.id);
        store.upsertQuiet(chat);
    }
    for (int number = 0; number < folderCount; ++number) {
        const auto id = folders.create(QStringLiteral("Folder %1").arg(number));
        folders.assign(ids.mid(qsizetype(number) * 100, inOneFolder), id);
    }
}

qint64 Library::textBytes() const {
    qint64 bytes = 0;
    for (int row = 0; row < store.count(); ++row)
        bytes += bytesOf(store.at(row));
    return bytes;
}

int Library::plainSearch(const QString& query) const {
    const auto holds = [&query](const Chat& chat) {
        return chat.title.contains(query, Qt::CaseInsensitive) ||
               std::any_of(chat.messages.begin(), chat.messages.end(), [&query](const ChatMessage& message) {
                   return message.content.contains(query, Qt::CaseInsensitive);
               });
    };
    int found = 0;
    for (int row = 0; row < store.count(); ++row)
        found += holds(store.at(row)) ? 1 : 0;
    return found;
}

} // namespace teskal::bench
