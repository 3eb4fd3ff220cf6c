#include "World.h"

#include "AccountFileName.h"

namespace teskal::test {

World::World(const QStringList& serviceArguments, Clock* byHand)
    : service(std::make_unique<LocalService>(serviceArguments)), control(*service),
      clock(byHand ? *byHand : timeOfDay),
      config(Config::forLocalService(service->origin().toString()).value()) {
    launch();
}

void World::launch(const std::function<void(AppModel&)>& atOnce) {
    model_ = std::make_unique<AppModel>(
        AppServices{config, http, clock, keychain, browser, folder.path(), folder.filePath(u"Files"_qs),
                    u"1.2"_qs, [this](const QString& link) { openedLinks.append(link); },
                    [this](const QString& text) { clipboard = text; }, &player,
                    [this](const QString& name, std::stop_token) {
                        suggestedNames.append(name);
                        CompletionSource<std::optional<QString>> choice;
                        choice.succeed(std::optional(savePath));
                        return choice.completion();
                    },
                    microphone, folder.filePath(u"Recordings"_qs)});
    model_->transcript().setPage(&page);
    page.sendReady();
    page.takeCalls();
    if (atOnce)
        atOnce(*model_);
    if (!waitUntil([this] { return !model_->auth().isLoading() && !model_->store().isLoading(); }))
        qFatal("the stored session is not read");
}

void World::quit() {
    model_->flush();
    model_.reset();
}

void World::signIn() {
    model_->signIn();
    if (!waitUntil([this] {
            return model_->auth().isSignedIn() && !model_->auth().isSigningIn() &&
                   !model_->store().isLoading();
        }))
        qFatal("the sign-in does not end");
}

QString World::send(const QString& text) {
    model_->send(text);
    return model_->selection().value_or(QString());
}

QString World::ask(const QString& text) {
    const QString chat = send(text);
    if (!waitForEnd(chat))
        qFatal("the answer does not end");
    return chat;
}

void World::answerInPieces() {
    control.next({{u"path"_qs, chatPath},
                  {u"rawStream"_qs, QString::fromLatin1(answerText.toLatin1().toBase64())},
                  {u"chunks"_qs, QJsonArray{10}}});
}

void World::holdInTheMiddle() {
    answerInPieces();
    control.hold(chatPath, 20);
}

TeskalAPI World::otherDevice() {
    TokenProvider token = [auth = &model_->auth()](std::stop_token stop) {
        return auth->accessToken(std::move(stop));
    };
    return TeskalAPI(config.baseURL, token, http, clock, u"1"_qs);
}

bool World::waitForEnd(const QString& chat) {
    return waitUntil([this, chat] { return !model_->isAnswering(chat); });
}

bool World::waitForText(const QString& chat) {
    return waitUntil([this, chat] { return !last(chat).content.isEmpty(); });
}

ChatMessage World::last(const QString& chat) const {
    const Chat* found = model_->store().chat(chat);
    return found && !found->messages.isEmpty() ? found->messages.last() : ChatMessage();
}

QString World::errorOf(const QString& chat) const {
    const std::optional<MessageError> error = last(chat).error;
    return error ? error->code.value_or(u"-"_qs) + u": "_qs + error->message : QString();
}

QList<Chat> World::stored(const QString& owner) const {
    QFile file(folder.filePath(accountFileName(owner) + u".json"_qs));
    return file.open(QFile::ReadOnly) ? decodeChats(file.readAll()) : QList<Chat>();
}

} // namespace teskal::test
