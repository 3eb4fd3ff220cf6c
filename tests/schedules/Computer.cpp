#include "Computer.h"

#include <algorithm>

namespace teskal::test {

Computer::Computer()
    : page([this](const QString& id) {
          shown.append({id, model().selection()});
      }),
      devices(std::size_t(people.size())) {
    watch();
    for (int person = int(people.size()) - 1; person >= 0; --person) {
        ledger.require(signInAs(person), u"the first sign-ins fail"_qs);
        owners.prepend(owner());
    }
    takeTokens();
}

QList<const Chat*> Computer::chats() {
    QList<const Chat*> all;
    for (int row = 0; row < store().count(); ++row)
        all.append(&store().at(row));
    if (store().privateChat())
        all.append(store().privateChat());
    return all;
}

QString Computer::draftFor(const QString& slot) {
    return u"for %1 in %2"_qs.arg(owner(), slot);
}

void Computer::watch() {
    model().transcript().setPage(&page);
    page.sendReady();
    QObject::connect(&store(), &ChatStore::messageChanged, &model(),
                     [this](const QString& chat, const QString& id) {
                         const ChatMessage* message = store().message(chat, id);
                         if (message && !ledger.chatOf(id).isEmpty()) // a new one is noted when it was sent
                             ledger.checkMessage(owner(), chat, *message);
                     });
}

void Computer::consentAs(int person) {
    world.control.post(u"consent"_qs, QJsonObject{{u"email"_qs, people[person] + u"@example.org"_qs},
                                                  {u"automatic"_qs, true}});
}

bool Computer::signInAs(int person) {
    consentAs(person);
    model().signIn();
    return waitUntil([this] { return !model().auth().isSigningIn(); }) && model().auth().isSignedIn();
}

void Computer::takeTokens() {
    for (int person = 0; person < people.size(); ++person) {
        consentAs(person);
        devices[std::size_t(person)] =
            std::make_unique<OtherDevice>(*world.service, world.control.accessToken());
    }
}

void Computer::interrupt(const QString& chatId) {
    if (const Chat* chat = store().chat(chatId))
        ledger.interrupted(*chat);
}

void Computer::interruptAll() {
    for (const Chat* chat : chats())
        ledger.interrupted(*chat);
}

void Computer::check() {
    const int person = personHere();
    ledger.require(owner().isEmpty() || person >= 0, u"an unknown account"_qs);
    for (const Chat* chat : chats()) {
        ledger.check(owner(), *chat, Ledger::Place::Memory);
        const bool isPending = std::any_of(chat->messages.cbegin(), chat->messages.cend(),
                                           [](const ChatMessage& message) { return message.pending; });
        ledger.require(isPending == model().isAnswering(chat->id),
                       u"chat %1 is pending without a run, or the other way round"_qs.arg(chat->id));
    }
    const FolderStore& folders = model().folders();
    for (const Folder& folder : folders.folders())
        ledger.require(person >= 0 && folder.name.endsWith(u" of "_qs + people[person]),
                       u"a folder of another account: "_qs + folder.name);
    for (auto filed = folders.filed().cbegin(); filed != folders.filed().cend(); ++filed)
        ledger.require(ledger.ownerOfChat(filed.key()) == owner(), u"a chat of another account is filed"_qs);
    for (const Shown& one : std::exchange(shown, {}))
        ledger.require(one.selection == ledger.chatOf(one.messageId),
                       u"the page was given a message of a chat that it does not show"_qs);
    // A draft for no chat becomes that of the chat that is made while it stands there.
    const QString draft = model().draft();
    ledger.require(draft.isEmpty() || draft == draftFor(model().draftSlot()) || draft == draftFor(QString()),
                   u"the draft of another chat: "_qs + draft);
}

void Computer::checkFiles() {
    for (const QString& each : owners)
        for (const Chat& chat : world.stored(each))
            ledger.check(each, chat, Ledger::Place::File);
}

void Computer::checkService() {
    for (int person = 0; person < people.size(); ++person) {
        OtherDevice& device = *devices[std::size_t(person)];
        for (const QString& id : device.chats())
            if (const auto chat = device.chat(id))
                ledger.check(owners[person], *chat, Ledger::Place::Service);
    }
}

void Computer::checkRequests() {
    QHash<QString, QString> holders;
    for (const auto& value : world.control.requests(u"/api"_qs)) {
        const QJsonObject request = value.toObject();
        const QJsonObject body = request[u"json"].toObject();
        const QString question = body[u"messages"].toArray().last()[u"content"].toString();
        const QString chat = body[u"chat"][u"id"].toString();
        const QString job = request[u"query"][u"job"].toString();
        const auto asker = !job.isEmpty()        ? ledger.ownerOfJob(job)
                           : !question.isEmpty() ? ledger.ownerOfQuestion(question)
                                                 : ledger.ownerOfChat(chat);
        const QString token = request[u"headers"][u"authorization"].toString();
        if (asker)
            ledger.require(*holders.insert(token, holders.value(token, *asker)) == *asker,
                           u"one token serves two accounts"_qs);
    }
}

} // namespace teskal::test
