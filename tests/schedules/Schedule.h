#pragma once

#include "Chance.h"
#include "Ledger.h"
#include "ManualClock.h"
#include "OtherDevice.h"
#include "WatchedPage.h"
#include "World.h"

#include <QStringList>

#include <vector>

namespace teskal::test {

/// What two people do at one computer, in an order drawn from a seed, while the service holds answers,
/// history and folders back as the same seed says. After every step all that can be seen is held against what
/// was asked.
class Schedule {
public:
    explicit Schedule(quint32 seed);

    /// Does the next step. Returns whether everything is as it must be.
    bool step();
    /// Lets everything come to its end and looks at the files and at the service, too.
    bool finish();

    /// What is wrong, and the last steps before it.
    QString report() const;

private:
    struct Action {
        int weight;
        const char* name;
        void (Schedule::*run)();
    };
    static const QList<Action>& actions();

    void send();
    void sendToNew();
    void retry();
    void stop();
    void selectAny();
    void selectNone();
    void newPrivateChat();
    void deleteAny();
    void deleteAll();
    void renameAny();
    void writeDraft();
    void holdAnswers();
    void holdOthers();
    void releaseOne();
    void releaseAll();
    void letAnswersEnd();
    void passTime();
    void passMuchTime();
    void syncNow();
    void changeFolders();
    void renameElsewhere();
    void deleteElsewhere();
    void endSessions();
    void signOut();
    void signIn();
    void beginSignIn();
    void relaunch();

    AppModel& model() { return world_.model(); }
    const ChatStore& store() { return world_.model().store(); }
    QString owner() { return store().owner().value_or(QString()); }
    /// The place of the account whose chats are there; -1 for none.
    int personHere() { return int(owners_.indexOf(owner())); }
    /// A chat of the list, or the private one; none when there is none.
    std::optional<QString> anyChat();
    std::optional<QString> chatInQuestion();
    /// May let this device ask what the other has done.
    void hearOfIt();
    void ask(const QString& question);
    void sendAsDraft(const QString& question);
    void watch();
    /// Says who signs in from now on.
    void consentAs(int person);
    /// Lets the service and what is queued here have their turn.
    void turn();
    bool signInAs(int person);
    /// Answers under way may end early from here on.
    void interruptAll();
    void interrupt(const QString& chatId);
    void hold(const QString& path, int afterBytes);
    /// Another device of the account that is signed in; none while its requests would be held back.
    OtherDevice* otherDevice();
    void takeTokens();

    void check();
    void checkChats();
    void checkFolders();
    void checkShown();
    void checkDraft();
    void checkFiles();
    void checkService();
    void checkRequests();

    struct OpenHold {
        int id;
        QString path;
    };
    struct Shown {
        QString messageId;
        std::optional<QString> selection;
    };

    Chance chance_;
    Ledger ledger_;
    WatchedPage page_;
    ManualClock clock_{SystemClock().nowMs()}; ///< for everything but the service and the ways to it
    World world_{{QStringLiteral("--job-seconds"), QStringLiteral("0")}, &clock_};
    const QStringList people_{QStringLiteral("first"), QStringLiteral("second")};
    QStringList owners_;                                ///< the accounts of people_
    std::vector<std::unique_ptr<OtherDevice>> devices_; ///< of people_
    QList<OpenHold> holds_;
    QList<Shown> shown_; ///< since the last check
    QStringList trail_;
    int questions_ = 0;
    int steps_ = 0;
    int foldersMade_ = 0;
};

} // namespace teskal::test
