#pragma once

#include "ChatSync.h"
#include "FolderStore.h"
#include "HttpSession.h"
#include "ManualClock.h"

#include <QTemporaryDir>
#include <QUrl>

#include <memory>

namespace teskal::test {

/// One computer of an account: its files, and the stores over them, tied to each other as in the application.
class Device {
public:
    /// \a clock must outlive the device.
    Device(QUrl origin, QString accessToken, ManualClock& clock);

    /// Starts the stores on what the files hold.
    void start();
    /// Ends them as losing power does: what no file holds is gone.
    void crash();
    /// Ends them as quitting does.
    void quit();
    /// Signs in as somebody else, or out.
    void claim(const std::optional<QString>& owner, const QString& accessToken = {});

    ChatStore& store() { return stores_->chats; }
    FolderStore& folders() { return stores_->folders; }
    ChatSync& sync() { return stores_->sync; }
    TeskalAPI api();
    /// Whether a pass or an exchange of folders is under way.
    bool isBusy() const { return stores_->sync.isRunning() || stores_->folders.exchange().isUnderWay(); }
    /// What the service has: its chats, with those that it knows as deleted if asked for, and one of them.
    QStringList listed(bool deletedToo = false);
    std::optional<WireChat> fetched(const QString& id);
    QString path(const QString& file) const { return folder_.filePath(file); }

    /// Without a network every request fails before it leaves.
    bool isOffline = false;
    /// Files that sync has sent: "<id> <type> <bytes>".
    QStringList uploads;
    int pulls = 0;

    static inline const QString account = u"account1"_qs;

private:
    struct Stores {
        Stores(const QString& folder, ManualClock& clock);
        ChatStore chats;
        FolderStore folders;
        ChatSync sync;
    };

    QTemporaryDir folder_;
    QUrl origin_;
    QString accessToken_;
    ManualClock& clock_;
    HttpSession http_{clock_};
    std::unique_ptr<Stores> stores_;
};

} // namespace teskal::test
