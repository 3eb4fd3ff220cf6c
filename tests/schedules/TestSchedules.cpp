#include "AccountFileName.h"
#include "Computer.h"
#include "HeldReplies.h"
#include "LogCapture.h"

#include <QFile>
#include <QTest>

#include <numeric>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const char* const seedVariable = "TESKAL_SCHEDULE_SEED";
const char* const stepsVariable = "TESKAL_SCHEDULE_STEPS";

const QString answersPath = u"/api/chat"_qs;
const QString historyPath = u"/api/chats"_qs;
const QString foldersPath = u"/api/folders"_qs;

constexpr int mostChats = 7; ///< of an account, before the user makes no more
constexpr int trailLength = 40;
constexpr int moreThanTheNewest = 1'100'000; ///< bytes before the rest of the chats is read for itself

/// What two people do at one computer, in an order drawn from a seed, while the service holds answers,
/// history and folders back as the same seed says. After every step all that can be seen is held against what
/// was asked.
class Schedule : private Computer {
public:
    explicit Schedule(quint32 seed) : chance_(seed) {}

    /// Does the next step. Returns whether everything is as it must be.
    bool step() {
        static const int total =
            std::accumulate(actions().cbegin(), actions().cend(), 0,
                            [](int sum, const Action& each) { return sum + each.weight; });
        int left = chance_.below(total);
        const int turns = chance_.below(4);
        auto action = actions().cbegin();
        for (; left >= action->weight; ++action)
            left -= action->weight;
        trail_.append(u"%1: %2, %3 turns"_qs.arg(++steps_).arg(QLatin1String(action->name)).arg(turns));
        // Nobody stays signed out for long.
        if (!model().auth().isSignedIn() && !model().auth().isSigningIn() && chance_.oneIn(3))
            signIn();
        (this->*action->run)();
        if (model().auth().isSigningIn())
            interruptAll();
        for (int more = turns; more > 0; --more)
            turn();
        check();
        return ledger.problems().isEmpty();
    }

    /// Lets everything come to its end and looks at the files and at the service, too.
    bool finish() {
        trail_.append(u"the end"_qs);
        ledger.require(waitUntil([this] { return !model().auth().isSigningIn(); }),
                       u"a sign-in does not end"_qs);
        letAnswersEnd();
        check();
        world.quit();
        checkFiles();
        checkRequests();
        takeTokens();
        checkService();
        return ledger.problems().isEmpty();
    }

    /// What is wrong, and the last steps before it.
    QString report() const {
        return ledger.problems().mid(0, 5).join(u'\n') + u"\nafter\n"_qs +
               trail_.mid(std::max<qsizetype>(0, trail_.size() - trailLength)).join(u'\n');
    }

private:
    struct Action {
        int weight;
        const char* name;
        void (Schedule::*run)();
    };
    static const QList<Action>& actions() {
        static const QList<Action> all{{16, "send", &Schedule::send},
                                       {8, "send to a new chat", &Schedule::sendToNew},
                                       {8, "retry", &Schedule::retry},
                                       {10, "stop", &Schedule::stop},
                                       {14, "select", &Schedule::selectAny},
                                       {2, "select none", &Schedule::selectNone},
                                       {3, "new private chat", &Schedule::newPrivateChat},
                                       {3, "delete", &Schedule::deleteAny},
                                       {1, "delete all", &Schedule::deleteAll},
                                       {3, "rename", &Schedule::renameAny},
                                       {3, "write a draft", &Schedule::writeDraft},
                                       {8, "hold answers", &Schedule::holdAnswers},
                                       {2, "hold history or folders", &Schedule::holdOthers},
                                       {9, "release one", &Schedule::releaseOne},
                                       {2, "release all", &Schedule::releaseAll},
                                       {2, "let answers end", &Schedule::letAnswersEnd},
                                       {14, "time passes", &Schedule::passTime},
                                       {1, "much time passes", &Schedule::passMuchTime},
                                       {4, "sync now", &Schedule::syncNow},
                                       {5, "change folders", &Schedule::changeFolders},
                                       {3, "rename elsewhere", &Schedule::renameElsewhere},
                                       {3, "delete elsewhere", &Schedule::deleteElsewhere},
                                       {1, "sessions end", &Schedule::endSessions},
                                       {1, "sign out", &Schedule::signOut},
                                       {2, "sign in", &Schedule::signIn},
                                       {1, "begin to sign in", &Schedule::beginSignIn},
                                       {1, "relaunch", &Schedule::relaunch}};
        return all;
    }

    void selectNone() { model().select(std::nullopt); }
    void releaseOne() { held_.releaseOne(); }
    void releaseAll() { held_.releaseAll(); }

    /// Lets the service and what is queued here have their turn.
    void turn() {
        if (!world.control.wait(u"/"_qs, u"received"_qs, 0))
            qFatal("the service does not answer");
    }

    /// A chat of the list, or the private one; none when there is none.
    std::optional<QString> anyChat() {
        const QList<const Chat*> all = chats();
        return all.isEmpty() ? std::nullopt : std::optional(all[chance_.below(int(all.size()))]->id);
    }

    void ask(const QString& question) {
        const auto countOf = [this] {
            return model().selectedChat() ? model().selectedChat()->messages.size() : 0;
        };
        const qsizetype before = countOf();
        const bool busy = model().selectedChat() && model().isBusy();
        if (chance_.oneIn(3)) {
            const QString draft = model().draft();
            model().setDraft(question);
            model().sendDraft();
            model().setDraft(draft);
        } else {
            model().send(question);
        }
        if (busy || !model().auth().isSignedIn())
            return ledger.require(countOf() == before, u"a question was not ignored"_qs);
        const Chat* chat = model().selectedChat();
        if (!chat)
            return ledger.require(false, u"a question has no chat"_qs);
        ledger.asked(owner(), *chat, store().isPrivate(chat->id));
    }

    void send() {
        const int kind = chance_.oneIn(2) ? 0 : chance_.below(64);
        if (const int person = personHere(); person >= 0)
            ask(Ledger::ask(kind, ++questions_, people[person]));
    }

    void sendToNew() {
        if (store().count() < mostChats)
            model().newChat();
        send();
    }

    void retry() {
        const bool asks = model().canRetry() && model().auth().isSignedIn();
        model().retry();
        if (asks)
            ledger.askedAgain(owner(), *model().selectedChat());
    }

    void stop() {
        if (model().selection())
            interrupt(*model().selection());
        model().stop();
    }

    void selectAny() {
        if (const auto chat = anyChat())
            model().select(chat);
    }

    void newPrivateChat() {
        model().newPrivateChat();
        ledger.require(!model().auth().isSignedIn() || model().isPrivateShown(),
                       u"there is no private chat"_qs);
    }

    void deleteAny() {
        const auto chat = anyChat();
        if (!chat)
            return;
        interrupt(*chat);
        model().deleteChat(*chat);
        ledger.require(!store().chat(*chat) && model().selection() != chat,
                       u"a deleted chat is still there"_qs);
    }

    void deleteAll() {
        if (!chance_.oneIn(4))
            return deleteAny();
        interruptAll();
        model().deleteAllChats();
        ledger.require(store().count() == 0 && model().answeringChats().isEmpty(),
                       u"deleted chats are still there"_qs);
    }

    void renameAny() {
        const auto chat = anyChat();
        if (!chat)
            return;
        const QString title = u"Called in step %1"_qs.arg(steps_);
        ledger.mayBeCalled(*chat, title);
        model().renameChat(*chat, title);
    }

    void writeDraft() {
        if (personHere() >= 0)
            model().setDraft(draftFor(model().draftSlot()));
    }

    void holdAnswers() {
        static constexpr int places[] = {-1, 0, 40, 100, 150, 300};
        held_.hold(answersPath, places[chance_.below(int(std::size(places)))]);
    }

    void holdOthers() { held_.hold(chance_.oneIn(2) ? historyPath : foldersPath, chance_.oneIn(2) ? -1 : 1); }

    void letAnswersEnd() {
        held_.releaseAll();
        const auto ended = [this] {
            const QList<const Chat*> all = chats();
            return std::none_of(all.cbegin(), all.cend(),
                                [this](const Chat* chat) { return model().isAnswering(chat->id); });
        };
        ledger.require(waitUntil(ended), u"an answer does not end"_qs);
    }

    void passTime() {
        // Updates of an answer, the way of an edit to the file and to the service, the next look at a job.
        static constexpr std::chrono::milliseconds times[] = {10ms, 40ms, 40ms, 700ms, 1600ms, 4100ms};
        clock.advance(times[chance_.below(int(std::size(times)))]);
    }

    void passMuchTime() {
        static constexpr std::chrono::milliseconds times[] = {31s, 31s, 5min, 61min};
        clock.advance(times[chance_.below(int(std::size(times)))]);
    }

    void syncNow() {
        model().syncNow();
        clock.advance(1ms);
    }

    void changeFolders() {
        FolderStore& folders = model().folders();
        const int what = chance_.below(4);
        const int person = personHere();
        if (person < 0)
            return;
        const QString name = u"folder %1 of %2"_qs.arg(++foldersMade_).arg(people[person]);
        if (folders.folders().isEmpty() || (what == 0 && folders.folders().size() < mostChats)) {
            folders.create(name);
            return;
        }
        const QString folder = folders.folders()[chance_.below(int(folders.folders().size()))].id;
        const auto chat = anyChat();
        if (what == 1)
            folders.rename(folder, name);
        else if (what == 2 || !chat)
            folders.remove(folder);
        else if (!store().isPrivate(*chat))
            folders.assign({*chat}, chance_.oneIn(3) ? std::nullopt : std::optional(folder));
    }

    /// Another device of the account that is signed in; none while its requests would be held back.
    OtherDevice* otherDevice() {
        return held_.isHeld(historyPath) || personHere() < 0 ? nullptr
                                                             : devices[std::size_t(personHere())].get();
    }

    /// A chat that another device changes: one that is being answered here, if there is one.
    std::optional<QString> chatInQuestion() {
        const auto any = anyChat();
        for (int row = 0; row < store().count(); ++row)
            if (model().isAnswering(store().at(row).id))
                return store().at(row).id;
        return any;
    }

    /// May let this device ask what the other has done.
    void hearOfIt() {
        if (chance_.oneIn(2))
            syncNow();
    }

    void renameElsewhere() {
        const auto id = chatInQuestion();
        const double later = chance_.oneIn(3) ? 1 : 60'000;
        OtherDevice* device = otherDevice();
        if (!id || !device)
            return;
        const QString title = u"Renamed in step %1"_qs.arg(steps_);
        ledger.mayBeCalled(*id, title);
        device->rename(*id, title, later);
        hearOfIt();
    }

    void deleteElsewhere() {
        const auto id = chatInQuestion();
        OtherDevice* device = otherDevice();
        if (!id || !device || store().isPrivate(*id))
            return;
        device->remove(*id, clock.nowMs());
        hearOfIt();
    }

    void endSessions() {
        world.control.post(u"tokens"_qs, QJsonObject{{u"revokeAll"_qs, true}});
        takeTokens();
    }

    void signOut() {
        interruptAll();
        model().signOut();
        ledger.require(!store().owner() && store().count() == 0 && !store().privateChat() &&
                           !model().selection(),
                       u"something is left after the sign-out"_qs);
        checkFiles();
    }

    void signIn() {
        interruptAll();
        ledger.require(signInAs(chance_.below(int(people.size()))), u"a sign-in fails"_qs);
    }

    void beginSignIn() {
        interruptAll();
        consentAs(chance_.below(int(people.size())));
        model().signIn();
    }

    void relaunch() {
        interruptAll();
        world.quit();
        checkFiles();
        for (const QString& owner : owners)
            spreadFile(owner);
        // The chats are not there yet, or the newest alone; the user does not wait for the others.
        const auto act = [this](const QString& when) {
            trail_.append(when);
            (this->*actions()[chance_.below(int(actions().size()) - 1)].run)(); // all but this
        };
        world.launch([this, act](AppModel&) {
            watch();
            QObject::connect(
                &store(), &ChatStore::newestLoaded, &model(),
                [act] { act(u"between the newest and the rest"_qs); }, Qt::SingleShotConnection);
            act(u"at once"_qs);
        });
    }

    /// So that the newest chat is read first, and then the rest.
    void spreadFile(const QString& owner) {
        QFile file(world.folder.filePath(accountFileName(owner) + u".json"_qs));
        if (!file.open(QFile::ReadWrite | QFile::ExistingOnly))
            return;
        const QByteArray content = file.readAll();
        file.seek(1);
        file.write(QByteArray(moreThanTheNewest, ' ') + content.mid(1));
    }

    Chance chance_;
    HeldReplies held_{world.control, chance_};
    QStringList trail_;
    int questions_ = 0;
    int steps_ = 0;
    int foldersMade_ = 0;
};

} // namespace

/// Several chats answer while history and folders are exchanged, accounts change and the application is quit
/// and started: no task ever touches what is not its own. A seed and a number of steps can be given in the
/// environment.
class TestSchedules final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingIsChangedByAnothersTask_data() {
        QTest::addColumn<quint32>("seed");
        const bool given = qEnvironmentVariableIsSet(seedVariable);
        const QList<quint32> seeds =
            given ? QList{quint32(qEnvironmentVariableIntValue(seedVariable))} : QList<quint32>{1, 2, 3, 4};
        for (const quint32 seed : seeds)
            QTest::addRow("seed %u", seed) << seed;
    }
    void nothingIsChangedByAnothersTask() {
        QFETCH(const quint32, seed);
        const LogCapture quiet; // failed exchanges are part of it
        Schedule schedule(seed);
        const int steps = qEnvironmentVariableIntValue(stepsVariable);
        for (int step = 0; step < (steps > 0 ? steps : 1000); ++step)
            QVERIFY2(schedule.step(), qPrintable(schedule.report()));
        QVERIFY2(schedule.finish(), qPrintable(schedule.report()));
    }
};

QTEST_GUILESS_MAIN(TestSchedules)
#include "TestSchedules.moc"
