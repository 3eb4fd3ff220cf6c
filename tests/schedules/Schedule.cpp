#include "Schedule.h"

#include "AccountFileName.h"
#include "WaitUntil.h"

#include <QFile>

#include <algorithm>

namespace teskal::test {

namespace {

using namespace std::chrono_literals;

const QString answersPath = u"/api/chat"_qs;
const QString historyPath = u"/api/chats"_qs;
const QString foldersPath = u"/api/folders"_qs;

constexpr int mostChats = 7; ///< of an account, before the user makes no more
constexpr int trailLength = 40;
constexpr int moreThanTheNewest = 1'100'000; ///< bytes before the rest of the chats is read for itself

} // namespace

const QList<Schedule::Action>& Schedule::actions() {
    static const QList<Action> all{
        {16, "send", &Schedule::send},
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
        {1, "relaunch", &Schedule::relaunch},
    };
    return all;
}

bool Schedule::step() {
    static const int total = [] {
        int sum = 0;
        for (const Action& action : actions())
            sum += action.weight;
        return sum;
    }();
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
    inspection_.check();
    return ledger.problems().isEmpty();
}

bool Schedule::finish() {
    trail_.append(u"the end"_qs);
    ledger.require(waitUntil([this] { return !model().auth().isSigningIn(); }), u"a sign-in does not end"_qs);
    letAnswersEnd();
    inspection_.check();
    world.quit();
    inspection_.checkFiles();
    inspection_.checkRequests();
    takeTokens();
    inspection_.checkService();
    return ledger.problems().isEmpty();
}

QString Schedule::report() const {
    return ledger.problems().mid(0, 5).join(u'\n') + u"\nafter\n"_qs +
           trail_.mid(std::max<qsizetype>(0, trail_.size() - trailLength)).join(u'\n');
}

void Schedule::turn() {
    if (!world.control.wait(u"/"_qs, u"received"_qs, 0))
        qFatal("the service does not answer");
}

std::optional<QString> Schedule::anyChat() {
    const QList<const Chat*> all = chats();
    return all.isEmpty() ? std::nullopt : std::optional(all[chance_.below(int(all.size()))]->id);
}

void Schedule::ask(const QString& question) {
    const auto countOf = [this] {
        return model().selectedChat() ? model().selectedChat()->messages.size() : 0;
    };
    const qsizetype before = countOf();
    const bool busy = model().selectedChat() && model().isBusy();
    if (chance_.oneIn(3))
        sendAsDraft(question);
    else
        model().send(question);
    if (busy || !model().auth().isSignedIn())
        return ledger.require(countOf() == before, u"a question was not ignored"_qs);
    const Chat* chat = model().selectedChat();
    if (!chat)
        return ledger.require(false, u"a question has no chat"_qs);
    ledger.asked(owner(), *chat, store().isPrivate(chat->id));
}

void Schedule::sendAsDraft(const QString& question) {
    const QString draft = model().draft();
    model().setDraft(question);
    model().sendDraft();
    model().setDraft(draft);
}

void Schedule::send() {
    const int kind = chance_.oneIn(2) ? 0 : chance_.below(64);
    if (const int person = personHere(); person >= 0)
        ask(Ledger::ask(kind, ++questions_, people[person]));
}

void Schedule::sendToNew() {
    if (store().count() < mostChats)
        model().newChat();
    send();
}

void Schedule::retry() {
    const bool asks = model().canRetry() && model().auth().isSignedIn();
    model().retry();
    if (asks)
        ledger.askedAgain(owner(), *model().selectedChat());
}

void Schedule::stop() {
    if (model().selection())
        interrupt(*model().selection());
    model().stop();
}

void Schedule::selectAny() {
    if (const auto chat = anyChat())
        model().select(chat);
}

void Schedule::newPrivateChat() {
    model().newPrivateChat();
    ledger.require(!model().auth().isSignedIn() || model().isPrivateShown(), u"there is no private chat"_qs);
}

void Schedule::deleteAny() {
    const auto chat = anyChat();
    if (!chat)
        return;
    interrupt(*chat);
    model().deleteChat(*chat);
    ledger.require(!store().chat(*chat) && model().selection() != chat, u"a deleted chat is still there"_qs);
}

void Schedule::deleteAll() {
    if (!chance_.oneIn(4))
        return deleteAny();
    interruptAll();
    model().deleteAllChats();
    ledger.require(store().count() == 0 && model().answeringChats().isEmpty(),
                   u"deleted chats are still there"_qs);
}

void Schedule::renameAny() {
    const auto chat = anyChat();
    if (!chat)
        return;
    const QString title = u"Called in step %1"_qs.arg(steps_);
    ledger.mayBeCalled(*chat, title);
    model().renameChat(*chat, title);
}

void Schedule::writeDraft() {
    if (personHere() >= 0)
        model().setDraft(draftFor(model().draftSlot()));
}

void Schedule::holdAnswers() {
    static constexpr int places[] = {-1, 0, 40, 100, 150, 300};
    held_.hold(answersPath, places[chance_.below(int(std::size(places)))]);
}

void Schedule::holdOthers() {
    held_.hold(chance_.oneIn(2) ? historyPath : foldersPath, chance_.oneIn(2) ? -1 : 1);
}

void Schedule::letAnswersEnd() {
    held_.releaseAll();
    const auto ended = [this] {
        const QList<const Chat*> all = chats();
        return std::none_of(all.cbegin(), all.cend(),
                            [this](const Chat* chat) { return model().isAnswering(chat->id); });
    };
    ledger.require(waitUntil(ended), u"an answer does not end"_qs);
}

void Schedule::passTime() {
    // Updates of an answer, the way of an edit to the file and to the service, the next look at a job.
    static constexpr std::chrono::milliseconds times[] = {10ms, 40ms, 40ms, 700ms, 1600ms, 4100ms};
    clock.advance(times[chance_.below(int(std::size(times)))]);
}

void Schedule::passMuchTime() {
    static constexpr std::chrono::milliseconds times[] = {31s, 31s, 5min, 61min};
    clock.advance(times[chance_.below(int(std::size(times)))]);
}

void Schedule::syncNow() {
    model().syncNow();
    clock.advance(1ms);
}

void Schedule::changeFolders() {
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

OtherDevice* Schedule::otherDevice() {
    return held_.isHeld(historyPath) || personHere() < 0 ? nullptr : devices[std::size_t(personHere())].get();
}

/// A chat that another device changes: one that is being answered here, if there is one.
std::optional<QString> Schedule::chatInQuestion() {
    const auto any = anyChat();
    for (int row = 0; row < store().count(); ++row)
        if (model().isAnswering(store().at(row).id))
            return store().at(row).id;
    return any;
}

void Schedule::hearOfIt() {
    if (chance_.oneIn(2))
        syncNow();
}

void Schedule::renameElsewhere() {
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

void Schedule::deleteElsewhere() {
    const auto id = chatInQuestion();
    OtherDevice* device = otherDevice();
    if (!id || !device || store().isPrivate(*id))
        return;
    device->remove(*id, clock.nowMs());
    hearOfIt();
}

void Schedule::endSessions() {
    world.control.post(u"tokens"_qs, QJsonObject{{u"revokeAll"_qs, true}});
    takeTokens();
}

void Schedule::signOut() {
    interruptAll();
    model().signOut();
    ledger.require(!store().owner() && store().count() == 0 && !store().privateChat() && !model().selection(),
                   u"something is left after the sign-out"_qs);
    inspection_.checkFiles();
}

void Schedule::signIn() {
    interruptAll();
    ledger.require(signInAs(chance_.below(int(people.size()))), u"a sign-in fails"_qs);
}

void Schedule::beginSignIn() {
    interruptAll();
    consentAs(chance_.below(int(people.size())));
    model().signIn();
}

void Schedule::relaunch() {
    interruptAll();
    world.quit();
    inspection_.checkFiles();
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
void Schedule::spreadFile(const QString& owner) {
    QFile file(world.folder.filePath(accountFileName(owner) + u".json"_qs));
    if (!file.open(QFile::ReadWrite | QFile::ExistingOnly))
        return;
    const QByteArray content = file.readAll();
    file.seek(1);
    file.write(QByteArray(moreThanTheNewest, ' ') + content.mid(1));
}

} // namespace teskal::test
