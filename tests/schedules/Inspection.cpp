#include "Inspection.h"

#include <QJsonArray>

#include <algorithm>

namespace teskal::test {

namespace {

bool hasPending(const Chat& chat) {
    return std::any_of(chat.messages.cbegin(), chat.messages.cend(),
                       [](const ChatMessage& message) { return message.pending; });
}

} // namespace

void Inspection::check() {
    ledger_.require(computer_.owner().isEmpty() || computer_.personHere() >= 0, u"an unknown account"_qs);
    checkChats();
    checkFolders();
    checkShown();
    checkDraft();
}

void Inspection::checkChats() {
    for (const Chat* chat : computer_.chats()) {
        ledger_.check(computer_.owner(), *chat, Ledger::Place::Memory);
        ledger_.require(hasPending(*chat) == computer_.model().isAnswering(chat->id),
                        u"chat %1 is pending without a run, or the other way round"_qs.arg(chat->id));
    }
}

void Inspection::checkFolders() {
    const int person = computer_.personHere();
    const FolderStore& folders = computer_.model().folders();
    for (const Folder& folder : folders.folders())
        ledger_.require(person >= 0 && folder.name.endsWith(u" of "_qs + computer_.people[person]),
                        u"a folder of another account: "_qs + folder.name);
    for (auto filed = folders.filed().cbegin(); filed != folders.filed().cend(); ++filed)
        ledger_.require(ledger_.ownerOfChat(filed.key()) == computer_.owner(),
                        u"a chat of another account is filed"_qs);
}

void Inspection::checkShown() {
    for (const Computer::Shown& shown : std::exchange(computer_.shown, {}))
        ledger_.require(shown.selection == ledger_.chatOf(shown.messageId),
                        u"the page was given a message of a chat that it does not show"_qs);
}

/// A draft for no chat becomes that of the chat that is made while it stands there.
void Inspection::checkDraft() {
    const QString draft = computer_.model().draft();
    ledger_.require(draft.isEmpty() || draft == computer_.draftFor(computer_.model().draftSlot()) ||
                        draft == computer_.draftFor(QString()),
                    u"the draft of another chat: "_qs + draft);
}

void Inspection::checkFiles() {
    for (const QString& owner : computer_.owners)
        for (const Chat& chat : computer_.world.stored(owner))
            ledger_.check(owner, chat, Ledger::Place::File);
}

void Inspection::checkService() {
    for (int person = 0; person < computer_.people.size(); ++person) {
        OtherDevice& device = *computer_.devices[std::size_t(person)];
        for (const QString& id : device.chats())
            if (const auto chat = device.chat(id))
                ledger_.check(computer_.owners[person], *chat, Ledger::Place::Service);
    }
}

void Inspection::checkRequests() {
    QHash<QString, QString> holders;
    for (const auto& value : computer_.world.control.requests(u"/api"_qs)) {
        const QJsonObject request = value.toObject();
        const QJsonObject body = request[u"json"].toObject();
        const QString question = body[u"messages"].toArray().last()[u"content"].toString();
        const QString chat = body[u"chat"][u"id"].toString();
        const QString job = request[u"query"][u"job"].toString();
        const auto owner = !job.isEmpty()        ? ledger_.ownerOfJob(job)
                           : !question.isEmpty() ? ledger_.ownerOfQuestion(question)
                                                 : ledger_.ownerOfChat(chat);
        const QString token = request[u"headers"][u"authorization"].toString();
        if (owner)
            ledger_.require(*holders.insert(token, holders.value(token, *owner)) == *owner,
                            u"one token serves two accounts"_qs);
    }
}

} // namespace teskal::test
