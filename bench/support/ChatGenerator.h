#pragma once

#include "Chat.h"

#include <QStringList>

#include <random>

namespace teskal::bench {

/// Makes chats as people have them, the same ones every time: Markdown in several scripts, code, routes and
/// a few inline images.
class ChatGenerator {
public:
    Chat chat();

private:
    ChatMessage question();
    ChatMessage answer();
    Attachment image();
    JSONValue route();
    QString markdown(int blocks);
    QString paragraph(int words);
    QString code(int lines);
    QString table(int rows);
    QString word();
    int below(int limit);

    std::mt19937 random_{20240501};
};

} // namespace teskal::bench
