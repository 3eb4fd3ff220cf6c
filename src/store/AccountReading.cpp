#include "AccountReading.h"

#include "Cancelled.h"
#include "ChatRepair.h"
#include "JsonError.h"

#include <QFileInfo>

#include <algorithm>
#include <future>
#include <utility>

#if defined(__linux__)
#include <sys/resource.h>
#endif

namespace teskal {

namespace {

/// Text of the first part, in bytes: enough for the rows of a large window, and read within a frame.
constexpr qint64 newestSize = 1 << 20;
/// Text that is read between two looks at whether somebody waits, in bytes: less than a millisecond.
constexpr qint64 quietSize = 1 << 17;

/// For as long as the thread lives: only privileged users may raise a priority again.
void lowerPriorityOfThread() {
#if defined(__linux__)
    constexpr int niceness = 10;            // a tenth of what a busy thread gets
    setpriority(PRIO_PROCESS, 0, niceness); // which is the thread on this system, not the process
#endif
}

} // namespace

AccountReading::AccountReading(QString path, std::stop_token stop, std::stop_token hurry)
    : path_(std::move(path)), stop_(std::move(stop)), hurry_(std::move(hurry)) {}

AccountChats AccountReading::readNewest() {
    return guarded([this](AccountChats& account) {
        open();
        if (reader_ && !hurry_.stop_requested())
            add(account, reader_->readSome(newestSize));
    });
}

AccountChats AccountReading::readRest() {
    return guarded([this](AccountChats& account) {
        if (!reader_)
            return;
        if (!hurry_.stop_requested())
            readQuietly(account);
        add(account, reader_->readRest());
    });
}

template<typename Read>
AccountChats AccountReading::guarded(const Read& read) {
    AccountChats account;
    try {
        read(account);
    } catch (const JsonError&) {
        account = {};
        damaged_ = true;
        file_ = nullptr;
        reader_.reset();
    } catch (const Cancelled&) {
        account = {}; // nobody waits any more
    }
    std::stable_sort(account.chats.begin(), account.chats.end(),
                     [](const auto& a, const auto& b) { return a->updatedAt > b->updatedAt; });
    return account;
}

void AccountReading::open() {
    file_ = FileSnapshot::open(path_);
    if (file_)
        reader_.emplace(file_, stop_);
    else
        damaged_ = QFileInfo::exists(path_); // unreadable, but not ours to throw away
}

/// Until somebody waits.
void AccountReading::readQuietly(AccountChats& account) {
    const auto read = [this, &account] {
        lowerPriorityOfThread();
        while (!reader_->atEnd() && !hurry_.stop_requested())
            add(account, reader_->readSome(quietSize));
    };
    std::async(std::launch::async, read).get();
}

void AccountReading::add(AccountChats& account, LoadedChats loaded) {
    for (std::size_t at = 0; at < loaded.chats.size(); ++at) {
        auto chat = std::make_unique<Chat>(std::move(loaded.chats[at]));
        if (known_.contains(chat->id))
            continue; // of equal ones the first, newest is kept
        known_.insert(chat->id);
        const double updatedAt = chat->updatedAt;
        if (repairLoadedChat(*chat)) {
            chat->updatedAt += 1; // so that the mended answer reaches the other devices
            account.mended = true;
        }
        if (chat->updatedAt == updatedAt)
            account.ranges.insert(chat->id, loaded.ranges[at]);
        account.chats.push_back(std::move(chat));
    }
}

} // namespace teskal
