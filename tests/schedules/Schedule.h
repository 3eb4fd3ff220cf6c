#pragma once

#include "Computer.h"
#include "HeldReplies.h"
#include "Inspection.h"

namespace teskal::test {

/// What two people do at one computer, in an order drawn from a seed, while the service holds answers,
/// history and folders back as the same seed says. After every step all that can be seen is held against what
/// was asked.
class Schedule : private Computer {
public:
    explicit Schedule(quint32 seed) : chance_(seed) {}

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
    void selectNone() { model().select(std::nullopt); }
    void newPrivateChat();
    void deleteAny();
    void deleteAll();
    void renameAny();
    void writeDraft();
    void holdAnswers();
    void holdOthers();
    void releaseOne() { held_.releaseOne(); }
    void releaseAll() { held_.releaseAll(); }
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
    void spreadFile(const QString& owner);

    /// A chat of the list, or the private one; none when there is none.
    std::optional<QString> anyChat();
    std::optional<QString> chatInQuestion();
    /// May let this device ask what the other has done.
    void hearOfIt();
    void ask(const QString& question);
    void sendAsDraft(const QString& question);
    /// Lets the service and what is queued here have their turn.
    void turn();
    /// Another device of the account that is signed in; none while its requests would be held back.
    OtherDevice* otherDevice();

    Chance chance_;
    HeldReplies held_{world.control, chance_};
    Inspection inspection_{*this};
    QStringList trail_;
    int questions_ = 0;
    int steps_ = 0;
    int foldersMade_ = 0;
};

} // namespace teskal::test
