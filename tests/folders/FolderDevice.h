#pragma once

#include "FolderStore.h"
#include "ManualClock.h"
#include "TestFiles.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

namespace teskal::test {

/// A folder store with disk, clock and connection of its own, as one device of an account has them.
class FolderDevice {
public:
    explicit FolderDevice(const QUrl& origin = {}, const QString& accessToken = QStringLiteral("token"));

    QString path(const QString& file) const { return folder.filePath(QStringLiteral("Chats/") + file); }
    void putFile(const QString& file, const QByteArray& bytes) { writeFile(path(file), bytes); }
    QByteArray fileContent(const QString& file) const { return contentOf(path(file)); }
    /// What is on disk for an account.
    FolderDocument saved(const QString& owner = QStringLiteral("a")) const;

    /// Signs the account in.
    void claim(const QString& owner = QStringLiteral("a")) { store.claim(owner, api); }
    /// Lets the pending exchange begin and runs the event loop to its end. False when none began or it does
    /// not end.
    [[nodiscard]] bool exchange(std::chrono::milliseconds after = std::chrono::milliseconds(800));
    /// Runs the event loop until the exchange that is under way has ended.
    [[nodiscard]] bool exchangeEnds();

    /// "folders", "filed" and "notice: …", in the order of the signals, since the last time.
    QStringList takeSignals() { return std::exchange(signals_, {}); }
    QStringList names() const;

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
