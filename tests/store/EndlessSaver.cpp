// Saves the chats of one account over and over until it is killed, and prints a line after each save.
// Usage: teskal_endless_saver <folder> <account>

#include "ChatStore.h"
#include "ManualClock.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

using namespace teskal;

namespace {

constexpr int chatCount = 40;

/// Titles are "<round>:<number>". An even round changes the chats of even numbers alone, so that a save both
/// copies and encodes.
void retitle(ChatStore& store, int round) {
    QStringList ids;
    for (int row = 0; row < store.count(); ++row)
        ids.append(store.at(row).id);
    for (const QString& id : ids) {
        const QString number = store.chat(id)->title.section(u':', 1);
        if (round % 2 != 0 || number.toInt() % 2 == 0)
            store.rename(id, QString::number(round) + u':' + number);
    }
}

void fill(ChatStore& store) {
    while (store.count() < chatCount) {
        const QString id = store.create(u"0:%1"_qs.arg(store.count()));
        store.update(id, ChatStore::Touch::No, ChatStore::Save::Yes, [](Chat& chat) {
            chat.messages.append({u"m"_qs, Role::User, QString(50'000, u'x'), {}, {}, {}, false, {}, {}});
        });
    }
}

int lastRound(const ChatStore& store) {
    int last = 0;
    for (int row = 0; row < store.count(); ++row)
        last = std::max(last, store.at(row).title.section(u':', 0, 0).toInt());
    return last;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    ManualClock clock;
    ChatStore store(application.arguments().value(1), clock);
    store.claim(application.arguments().value(2));
    store.finishLoading();
    fill(store);
    for (int round = lastRound(store) + 1;; ++round) {
        retitle(store, round);
        store.flush();
        std::printf("%d\n", round);
        std::fflush(stdout);
    }
}
