// Saves the chats of one account over and over until it is killed, and prints a line after each save.
// Usage: teskal_endless_saver <folder> <account>

#include "ChatStore.h"
#include "ManualClock.h"

#include <QCoreApplication>

#include <cstdio>

using namespace teskal;

namespace {

constexpr int chatCount = 40;

void fill(ChatStore& store) {
    while (store.count() < chatCount) {
        const QString id = store.create(QStringLiteral("0"));
        store.update(id, ChatStore::Touch::No, ChatStore::Save::Yes, [](Chat& chat) {
            ChatMessage message;
            message.id = QStringLiteral("m");
            message.content = QString(50'000, QLatin1Char('x'));
            chat.messages.append(message);
        });
    }
}

void retitleAll(ChatStore& store, const QString& title) {
    for (int row = 0; row < store.count(); ++row)
        store.update(store.at(row).id, ChatStore::Touch::No, ChatStore::Save::Yes,
                     [&title](Chat& chat) { chat.title = title; });
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    ManualClock clock;
    ChatStore store(application.arguments().value(1), clock);
    store.claim(application.arguments().value(2));
    fill(store);
    for (int round = store.at(0).title.toInt() + 1;; ++round) {
        retitleAll(store, QString::number(round));
        store.flush();
        std::printf("%d\n", round);
        std::fflush(stdout);
    }
}
