#include "FolderDevice.h"

#include "ReadyToken.h"
#include "WaitUntil.h"

namespace teskal::test {

FolderDevice::FolderDevice(const QUrl& origin, const QString& accessToken)
    : api(origin, [accessToken](std::stop_token) { return readyToken(accessToken); }, session, clock, {}),
      store(folder.filePath(QStringLiteral("Chats")), clock, [this] { return random; }) {
    const auto note = [this](const QString& line) { signals_.append(line); };
    QObject::connect(&store, &FolderStore::foldersChanged, &store,
                     [note] { note(QStringLiteral("folders")); });
    QObject::connect(&store, &FolderStore::filedChanged, &store, [note] { note(QStringLiteral("filed")); });
    QObject::connect(&store, &FolderStore::notice, &store,
                     [note](const QString& text) { note(QStringLiteral("notice: ") + text); });
}

FolderDocument FolderDevice::saved(const QString& owner) const {
    const QByteArray content = fileContent(owner + QStringLiteral(".folders.json"));
    return content.isEmpty() ? FolderDocument() : decodeFolderDocument(content);
}

bool FolderDevice::exchange(std::chrono::milliseconds after) {
    clock.advance(after);
    return store.exchange().isUnderWay() && exchangeEnds();
}

bool FolderDevice::exchangeEnds() {
    return waitUntil([this] { return !store.exchange().isUnderWay(); });
}

QStringList FolderDevice::names() const {
    QStringList all;
    for (const Folder& each : store.folders())
        all.append(each.name);
    return all;
}

} // namespace teskal::test
