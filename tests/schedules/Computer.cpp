#include "Computer.h"

namespace teskal::test {

namespace {

QString emailOf(const QString& person) {
    return person + u"@example.org"_qs;
}

} // namespace

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
    world.control.post(u"consent"_qs,
                       QJsonObject{{u"email"_qs, emailOf(people[person])}, {u"automatic"_qs, true}});
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

} // namespace teskal::test
