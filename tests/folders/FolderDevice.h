#pragma once

#include "FolderStore.h"
#include "ManualClock.h"
#include "ReadyToken.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

namespace teskal::test {

/// A folder store with disk, clock and connection of its own, as one device of an account has them.
class FolderDevice {
public:
    explicit FolderDevice(const QUrl& origin = {}, const QString& accessToken = u"token"_qs)
        : api(origin, [accessToken](std::stop_token) { return readyToken(accessToken); }, session, clock, {}),
          store(folder.filePath(u"Chats"_qs), clock, [this] { return random; }) {
        const auto note = [this](const QString& line) { signals_.append(line); };
        QObject::connect(&store, &FolderStore::foldersChanged, &store, [note] { note(u"folders"_qs); });
        QObject::connect(&store, &FolderStore::filedChanged, &store, [note] { note(u"filed"_qs); });
        QObject::connect(&store, &FolderStore::notice, &store,
                         [note](const QString& text) { note(u"notice: "_qs + text); });
    }

    QString path(const QString& file) const { return folder.filePath(u"Chats/"_qs + file); }
    void putFile(const QString& file, const QByteArray& bytes) { writeFile(path(file), bytes); }
    QByteArray fileContent(const QString& file) const { return contentOf(path(file)); }
    /// What is on disk for an account.
    FolderDocument saved(const QString& owner = u"a"_qs) const {
        const QByteArray content = fileContent(owner + u".folders.json"_qs);
        return content.isEmpty() ? FolderDocument() : decodeFolderDocument(content);
    }

    /// Signs the account in.
    void claim(const QString& owner = u"a"_qs) { store.claim(owner, api); }
    /// Lets the pending exchange begin and runs the event loop to its end. False when none began or it does
    /// not end.
    [[nodiscard]] bool exchange(std::chrono::milliseconds after = std::chrono::milliseconds(800)) {
        clock.advance(after);
        return store.exchange().isUnderWay() && exchangeEnds();
    }
    /// Asks for an exchange, which begins at once, and runs the event loop to its end.
    [[nodiscard]] bool exchangeNow() {
        store.syncSoon(std::chrono::milliseconds(0));
        return exchange(std::chrono::milliseconds(0));
    }
    /// Runs the event loop until the exchange that is under way has ended.
    [[nodiscard]] bool exchangeEnds() {
        return waitUntil([this] { return !store.exchange().isUnderWay(); });
    }

    /// "folders", "filed" and "notice: …", in the order of the signals, since the last time, with ", "
    /// between.
    QString takeSignals() { return std::exchange(signals_, {}).join(u", "); }
    /// In their order, with ", " between.
    QString names() const {
        QStringList all;
        for (const Folder& each : store.folders())
            all.append(each.name);
        return all.join(u", ");
    }

    QTemporaryDir folder;
    ManualClock clock;
    HttpSession session{clock};
    TeskalAPI api;
    double random = 0.5; ///< what spreads the retries
    FolderStore store;

private:
    QStringList signals_;
};

} // namespace teskal::test
