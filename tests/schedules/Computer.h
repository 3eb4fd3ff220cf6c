#pragma once

#include "Ledger.h"
#include "ManualClock.h"
#include "OtherDevice.h"
#include "PagePort.h"
#include "World.h"

#include <functional>
#include <vector>

namespace teskal::test {

/// A transcript page that tells which messages it is given one by one.
class WatchedPage final : public PagePort {
public:
    explicit WatchedPage(std::function<void(const QString& messageId)> onMessage)
        : onMessage_(std::move(onMessage)) {}

    void call(const QByteArray&, const QList<QByteArray>&) override {}
    void upsert(const ChatMessage& message) override { onMessage_(message.id); }
    void reload() override {}

    void sendReady() { Q_EMIT messageReceived({{u"type"_qs, u"ready"_qs}}); }

private:
    std::function<void(const QString&)> onMessage_;
};

/// A computer with the application on it, two people who use it in turn, another device of each, and what
/// they asked. Their accounts are there from the beginning; it is the first person's turn.
struct Computer {
    struct Shown {
        QString messageId;
        std::optional<QString> selection;
    };

    Computer();

    AppModel& model() { return world.model(); }
    const ChatStore& store() { return world.model().store(); }
    QString owner() { return store().owner().value_or(QString()); }
    /// The place of the account whose chats are there; -1 for none.
    int personHere() { return int(owners.indexOf(owner())); }
    /// All that are there: those of the list, and the private one.
    QList<const Chat*> chats();
    /// What someone writes for the next message of a chat, or of a new one.
    QString draftFor(const QString& slot);

    /// Notes what the application shows and changes; after each of its starts.
    void watch();
    /// Says who signs in from now on.
    void consentAs(int person);
    bool signInAs(int person);
    /// Gives the other devices tokens that serve.
    void takeTokens();
    /// Holds what can be seen here, in the files and at the service against what was asked; problems go to
    /// the ledger. The first is what the application has and shows.
    void check();
    void checkFiles();
    void checkService();
    /// No token was used for what belongs to two accounts.
    void checkRequests();
    /// Answers under way may end early from here on: those of one chat, or all.
    void interrupt(const QString& chatId);
    void interruptAll();

    Ledger ledger;
    WatchedPage page;
    ManualClock clock{SystemClock().nowMs()}; ///< for everything but the service and the ways to it
    World world{{u"--job-seconds"_qs, u"0"_qs}, &clock};
    const QStringList people{u"first"_qs, u"second"_qs};
    QStringList owners;                                ///< the accounts of people
    std::vector<std::unique_ptr<OtherDevice>> devices; ///< of people
    QList<Shown> shown;                                ///< since the last look at them
};

} // namespace teskal::test
