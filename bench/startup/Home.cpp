#include "Home.h"

#include "AccountFileName.h"
#include "ChatGenerator.h"
#include "FileKeychain.h"
#include "Pending.h"

#include <QDir>
#include <QFile>

#include <stdexcept>

using namespace std::chrono_literals;

namespace teskal::bench {

namespace {

void waitFor(const char* what, const std::function<bool()>& holds) {
    if (!test::waitUntil(holds, 5min))
        throw std::runtime_error(std::string("did not happen: ") + what);
}

QList<Chat> generateChats(int count) {
    constexpr double hour = 3'600'000;
    ChatGenerator generator;
    const double now = 1'790'000'000'000;
    QList<Chat> chats;
    for (int i = 0; i < count; ++i) {
        Chat chat = generator.chat();
        chat.createdAt = chat.updatedAt = now - i * hour;
        for (ChatMessage& message : chat.messages)
            message.attachments.clear(); // files go by requests of their own
        chats.append(chat);
    }
    return chats;
}

QCoro::Task<void> store(Keychain& keychain, QMap<QString, QByteArray> items, std::stop_token stop) {
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        auto writing = keychain.write(item.key(), item.value(), stop);
        co_await writing;
    }
}

} // namespace

Home::Home(int chatCount) {
    world_.signIn();
    fill(chatCount);
    world_.quit();
    moveIn();
}

/// The chats travel to the service once, so that nothing is to be done at a start.
void Home::fill(int chatCount) {
    const QString owner = world_.model().store().owner().value();
    world_.quit();
    QFile file(world_.folder.filePath(accountFileName(owner) + QStringLiteral(".json")));
    if (!file.open(QFile::WriteOnly) || file.write(encodeChats(generateChats(chatCount))) < 0)
        throw std::runtime_error("could not write the chats");
    file.close();
    world_.launch();
    waitFor("the upload of all chats", [&] {
        return world_.control.wait(QStringLiteral("/api/chats&method=PUT"), QStringLiteral("finished"),
                                   chatCount);
    });
}

void Home::moveIn() {
    const QString data = folder_.filePath(QStringLiteral("data/Teskal") + world_.config.storageSuffix);
    const QString chats = data + QStringLiteral("/Chats");
    QDir().mkpath(chats);
    for (const QFileInfo& file : QDir(world_.folder.path()).entryInfoList(QDir::Files))
        if (!QFile::copy(file.filePath(), chats + u'/' + file.fileName()))
            throw std::runtime_error("could not copy the account's files");
    FileKeychain keychain(data + QStringLiteral("/secrets.json"));
    auto storing = test::start(
        [&](std::stop_token stop) { return store(keychain, world_.keychain.items, std::move(stop)); });
    storing.result();
    QDir(folder_.path()).mkpath(QStringLiteral("run"));
    QFile::setPermissions(folder_.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QProcessEnvironment Home::environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The engine tells at length how it runs; that is not what was asked.
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("qt.webenginecontext=false"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), folder_.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder_.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), folder_.filePath(QStringLiteral("cache")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder_.filePath(QStringLiteral("run")));
    return environment;
}

} // namespace teskal::bench
