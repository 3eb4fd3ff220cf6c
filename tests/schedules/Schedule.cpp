#include "Schedule.h"

#include "WaitUntil.h"

#include <QJsonArray>

#include <algorithm>

namespace teskal::test {

namespace {

using namespace std::chrono_literals;

const QString answersPath = QStringLiteral("/api/chat");
const QString historyPath = QStringLiteral("/api/chats");
const QString foldersPath = QStringLiteral("/api/folders");

constexpr int mostChats = 7; ///< of an account, before the user makes no more
constexpr int mostHolds = 4;
constexpr int trailLength = 40;

QString emailOf(const QString& person) {
    return person + QStringLiteral("@example.org");
}

/// What someone writes for the next message of a chat, or of a new one.
QString draftOf(const QString& owner, const QString& slot) {
    return QStringLiteral("for %1 in %2").arg(owner, slot);
}

bool hasPending(const Chat& chat) {
    return std::any_of(chat.messages.cbegin(), chat.messages.cend(),
                       [](const ChatMessage& message) { return message.pending; });
}

} // namespace

Schedule::Schedule(quint32 seed)
    : chance_(seed), page_([this](const QString& id) {
          shown_.append({id, model().selection()});
      }),
      devices_(std::size_t(people_.size())) {
    watch();
    for (int person = int(people_.size()) - 1; person >= 0; --person) {
        ledger_.require(signInAs(person), QStringLiteral("the first sign-ins fail"));
        owners_.prepend(owner());
    }
    takeTokens();
}

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
    trail_.append(
        QStringLiteral("%1: %2, %3 turns").arg(++steps_).arg(QLatin1String(action->name)).arg(turns));
    // Nobody stays signed out for long.
    if (!model().auth().isSignedIn() && !model().auth().isSigningIn() && chance_.oneIn(3))
        signIn();
    (this->*action->run)();
    if (model().auth().isSigningIn())
        interruptAll();
    for (int more = turns; more > 0; --more)
        turn();
    check();
    return ledger_.problems().isEmpty();
}

bool Schedule::finish() {
    trail_.append(QStringLiteral("the end"));
    ledger_.require(waitUntil([this] { return !model().auth().isSigningIn(); }),
                    QStringLiteral("a sign-in does not end"));
    letAnswersEnd();
    check();
    world_.quit();
    checkFiles();
    checkRequests();
    takeTokens();
    checkService();
    return ledger_.problems().isEmpty();
}

QString Schedule::report() const {
    return ledger_.problems().mid(0, 5).join(QLatin1Char('\n')) + QStringLiteral("\nafter\n") +
           trail_.mid(std::max<qsizetype>(0, trail_.size() - trailLength)).join(QLatin1Char('\n'));
}

void Schedule::watch() {
    model().transcript().setPage(&page_);
    page_.sendReady();
    QObject::connect(&store(), &ChatStore::messageChanged, &model(),
                     [this](const QString& chat, const QString& id) {
                         const ChatMessage* message = store().message(chat, id);
                         if (message && !ledger_.chatOf(id).isEmpty()) // a new one is noted when it was sent
                             ledger_.checkMessage(owner(), chat, *message);
                     });
}

void Schedule::consentAs(int person) {
    world_.control.post(QStringLiteral("consent"),
                        QJsonObject{{QStringLiteral("email"), emailOf(people_[person])},
                                    {QStringLiteral("automatic"), true}});
}

void Schedule::turn() {
    if (!world_.control.wait(QStringLiteral("/"), QStringLiteral("received"), 0))
        qFatal("the service does not answer");
}

std::optional<QString> Schedule::anyChat() {
    const int count = store().count() + (store().privateChat() ? 1 : 0);
    if (count == 0)
        return std::nullopt;
    const int row = chance_.below(count);
    return row < store().count() ? store().at(row).id : store().privateChat()->id;
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
        return ledger_.require(countOf() == before, QStringLiteral("a question was not ignored"));
    const Chat* chat = model().selectedChat();
    if (!chat)
        return ledger_.require(false, QStringLiteral("a question has no chat"));
    ledger_.asked(owner(), *chat, store().isPrivate(chat->id));
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
        ask(Ledger::ask(kind, ++questions_, people_[person]));
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
        ledger_.askedAgain(owner(), *model().selectedChat());
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

void Schedule::selectNone() {
    model().select(std::nullopt);
}

void Schedule::newPrivateChat() {
    model().newPrivateChat();
    ledger_.require(!model().auth().isSignedIn() || model().isPrivateShown(),
                    QStringLiteral("there is no private chat"));
}

void Schedule::deleteAny() {
    const auto chat = anyChat();
    if (!chat)
        return;
    interrupt(*chat);
    model().deleteChat(*chat);
    ledger_.require(!store().chat(*chat) && model().selection() != chat,
                    QStringLiteral("a deleted chat is still there"));
}

void Schedule::deleteAll() {
    if (!chance_.oneIn(4))
        return deleteAny();
    interruptAll();
    model().deleteAllChats();
    ledger_.require(store().count() == 0 && model().answeringChats().isEmpty(),
                    QStringLiteral("deleted chats are still there"));
}

void Schedule::renameAny() {
    const auto chat = anyChat();
    if (!chat)
        return;
    const QString title = QStringLiteral("Called in step %1").arg(steps_);
    ledger_.mayBeCalled(*chat, title);
    model().renameChat(*chat, title);
}

void Schedule::writeDraft() {
    if (personHere() >= 0)
        model().setDraft(draftOf(owner(), model().draftSlot()));
}

void Schedule::hold(const QString& path, int afterBytes) {
    if (holds_.size() >= mostHolds)
        return releaseOne();
    QJsonObject what{{QStringLiteral("path"), path}};
    if (afterBytes >= 0)
        what.insert(QStringLiteral("afterBytes"), afterBytes);
    const int id = world_.control.post(QStringLiteral("hold"), what).value(QLatin1String("id")).toInt();
    holds_.append({id, path});
}

void Schedule::holdAnswers() {
    static constexpr int places[] = {-1, 0, 40, 100, 150, 300};
    hold(answersPath, places[chance_.below(int(std::size(places)))]);
}

void Schedule::holdOthers() {
    hold(chance_.oneIn(2) ? historyPath : foldersPath, chance_.oneIn(2) ? -1 : 1);
}

void Schedule::releaseOne() {
    if (holds_.isEmpty())
        return;
    const OpenHold open = holds_.takeAt(chance_.below(int(holds_.size())));
    world_.control.post(QStringLiteral("release"), QJsonObject{{QStringLiteral("id"), open.id}});
}

void Schedule::releaseAll() {
    holds_.clear();
    world_.control.releaseAll();
}

void Schedule::letAnswersEnd() {
    releaseAll();
    const auto ended = [this] {
        for (int row = 0; row < store().count(); ++row)
            if (model().isAnswering(store().at(row).id))
                return false;
        return !store().privateChat() || !model().isAnswering(store().privateChat()->id);
    };
    ledger_.require(waitUntil(ended), QStringLiteral("an answer does not end"));
}

void Schedule::passTime() {
    // Updates of an answer, the way of an edit to the file and to the service, the next look at a job.
    static constexpr std::chrono::milliseconds times[] = {10ms, 40ms, 40ms, 700ms, 1600ms, 4100ms};
    clock_.advance(times[chance_.below(int(std::size(times)))]);
}

void Schedule::passMuchTime() {
    static constexpr std::chrono::milliseconds times[] = {31s, 31s, 5min, 61min};
    clock_.advance(times[chance_.below(int(std::size(times)))]);
}

void Schedule::syncNow() {
    model().syncNow();
    clock_.advance(1ms);
}

void Schedule::changeFolders() {
    FolderStore& folders = model().folders();
    const int what = chance_.below(4);
    const int person = personHere();
    if (person < 0)
        return;
    const QString name = QStringLiteral("folder %1 of %2").arg(++foldersMade_).arg(people_[person]);
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
    const bool held = std::any_of(holds_.cbegin(), holds_.cend(),
                                  [](const OpenHold& open) { return open.path == historyPath; });
    return held || personHere() < 0 ? nullptr : devices_[std::size_t(personHere())].get();
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
    const QString title = QStringLiteral("Renamed in step %1").arg(steps_);
    ledger_.mayBeCalled(*id, title);
    device->rename(*id, title, later);
    hearOfIt();
}

void Schedule::deleteElsewhere() {
    const auto id = chatInQuestion();
    OtherDevice* device = otherDevice();
    if (!id || !device || store().isPrivate(*id))
        return;
    device->remove(*id, clock_.nowMs());
    hearOfIt();
}

void Schedule::takeTokens() {
    for (int person = 0; person < people_.size(); ++person) {
        consentAs(person);
        devices_[std::size_t(person)] =
            std::make_unique<OtherDevice>(*world_.service, world_.control.accessToken());
    }
}

void Schedule::endSessions() {
    world_.control.post(QStringLiteral("tokens"), QJsonObject{{QStringLiteral("revokeAll"), true}});
    takeTokens();
}

void Schedule::interrupt(const QString& chatId) {
    if (const Chat* chat = store().chat(chatId))
        ledger_.interrupted(*chat);
}

void Schedule::interruptAll() {
    for (int row = 0; row < store().count(); ++row)
        ledger_.interrupted(store().at(row));
    if (store().privateChat())
        ledger_.interrupted(*store().privateChat());
}

void Schedule::signOut() {
    interruptAll();
    model().signOut();
    ledger_.require(!store().owner() && store().count() == 0 && !store().privateChat() &&
                        !model().selection(),
                    QStringLiteral("something is left after the sign-out"));
    checkFiles();
}

bool Schedule::signInAs(int person) {
    consentAs(person);
    model().signIn();
    return waitUntil([this] { return !model().auth().isSigningIn(); }) && model().auth().isSignedIn();
}

void Schedule::signIn() {
    interruptAll();
    ledger_.require(signInAs(chance_.below(int(people_.size()))), QStringLiteral("a sign-in fails"));
}

void Schedule::beginSignIn() {
    interruptAll();
    consentAs(chance_.below(int(people_.size())));
    model().signIn();
}

void Schedule::relaunch() {
    interruptAll();
    world_.quit();
    checkFiles();
    // The chats are not there yet; the user does not wait for them.
    world_.launch([this](AppModel&) {
        watch();
        trail_.append(QStringLiteral("at once"));
        (this->*actions()[chance_.below(int(actions().size()) - 1)].run)(); // all but this
    });
}

void Schedule::check() {
    ledger_.require(owner().isEmpty() || personHere() >= 0, QStringLiteral("an unknown account"));
    checkChats();
    checkFolders();
    checkShown();
    checkDraft();
}

void Schedule::checkChats() {
    const auto checkOne = [this](const Chat& chat) {
        ledger_.check(owner(), chat, Ledger::Place::Memory);
        ledger_.require(
            hasPending(chat) == model().isAnswering(chat.id),
            QStringLiteral("chat %1 is pending without a run, or the other way round").arg(chat.id));
    };
    for (int row = 0; row < store().count(); ++row)
        checkOne(store().at(row));
    if (store().privateChat())
        checkOne(*store().privateChat());
}

void Schedule::checkFolders() {
    const int person = personHere();
    const FolderStore& folders = model().folders();
    for (const Folder& folder : folders.folders())
        ledger_.require(person >= 0 && folder.name.endsWith(QStringLiteral(" of ") + people_[person]),
                        QStringLiteral("a folder of another account: ") + folder.name);
    for (auto filed = folders.filed().cbegin(); filed != folders.filed().cend(); ++filed)
        ledger_.require(ledger_.ownerOfChat(filed.key()) == owner(),
                        QStringLiteral("a chat of another account is filed"));
}

void Schedule::checkShown() {
    for (const Shown& shown : std::exchange(shown_, {}))
        ledger_.require(shown.selection == ledger_.chatOf(shown.messageId),
                        QStringLiteral("the page was given a message of a chat that it does not show"));
}

/// A draft for no chat becomes that of the chat that is made while it stands there.
void Schedule::checkDraft() {
    const QString draft = model().draft();
    ledger_.require(draft.isEmpty() || draft == draftOf(owner(), model().draftSlot()) ||
                        draft == draftOf(owner(), QString()),
                    QStringLiteral("the draft of another chat: ") + draft);
}

void Schedule::checkFiles() {
    for (const QString& owner : owners_)
        for (const Chat& chat : world_.stored(owner))
            ledger_.check(owner, chat, Ledger::Place::File);
}

void Schedule::checkService() {
    for (int person = 0; person < people_.size(); ++person) {
        OtherDevice& device = *devices_[std::size_t(person)];
        for (const QString& id : device.chats())
            if (const auto chat = device.chat(id))
                ledger_.check(owners_[person], *chat, Ledger::Place::Service);
    }
}

/// No token was used for what belongs to two accounts.
void Schedule::checkRequests() {
    QHash<QString, QString> holders;
    for (const auto& value : world_.control.requests(QStringLiteral("/api"))) {
        const QJsonObject request = value.toObject();
        const QJsonObject body = request[QLatin1String("json")].toObject();
        const QString question =
            body[QLatin1String("messages")].toArray().last()[QLatin1String("content")].toString();
        const QString chat = body[QLatin1String("chat")][QLatin1String("id")].toString();
        const QString job = request[QLatin1String("query")][QLatin1String("job")].toString();
        const auto owner = !job.isEmpty()        ? ledger_.ownerOfJob(job)
                           : !question.isEmpty() ? ledger_.ownerOfQuestion(question)
                                                 : ledger_.ownerOfChat(chat);
        const QString token = request[QLatin1String("headers")][QLatin1String("authorization")].toString();
        if (owner)
            ledger_.require(*holders.insert(token, holders.value(token, *owner)) == *owner,
                            QStringLiteral("one token serves two accounts"));
    }
}

} // namespace teskal::test
