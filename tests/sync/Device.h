#pragma once

#include "ChatSync.h"
#include "FolderStore.h"
#include "HttpSession.h"
#include "ManualClock.h"
#include "Pending.h"

#include <QTemporaryDir>
#include <QUrl>

namespace teskal::test {

/// One computer of an account: its files, and the stores over them, tied to each other as in the application.
class Device {
public:
    static inline const QString account = u"account1"_qs;

    /// \a clock must outlive the device.
    Device(QUrl origin, QString accessToken, ManualClock& clock)
        : origin_(std::move(origin)), accessToken_(std::move(accessToken)), clock_(clock) {
        start();
    }

    /// Starts the stores on what the files hold.
    void start() {
        stores_ = std::make_unique<Stores>(folder_.path(), clock_);
        QObject::connect(&sync(), &ChatSync::uploaded, &sync(),
                         [this](const QString& id, const QString& type, const QByteArray& bytes) {
                             uploads.append(u"%1 %2 %3"_qs.arg(id, type).arg(bytes.size()));
                         });
        QObject::connect(&sync(), &ChatSync::pulled, &sync(), [this] { ++pulls; });
        claim(account, accessToken_);
    }
    /// Ends them as losing power does: what no file holds is gone.
    void crash() { stores_.reset(); }
    /// Ends them as quitting does.
    void quit() {
        store().flush();
        folders().flush();
        sync().flush();
        stores_.reset();
    }
    /// Signs in as somebody else, or out.
    void claim(const std::optional<QString>& owner, const QString& accessToken = {}) {
        accessToken_ = accessToken;
        store().claim(owner);
        folders().claim(owner, owner ? std::optional(api()) : std::nullopt);
        sync().claim(owner, owner ? std::optional(api()) : std::nullopt);
        folders().syncSoon(std::chrono::milliseconds(0));
        sync().syncSoon(std::chrono::milliseconds(0));
        store().finishLoading();
    }

    ChatStore& store() { return stores_->chats; }
    FolderStore& folders() { return stores_->folders; }
    ChatSync& sync() { return stores_->sync; }
    TeskalAPI api() {
        const auto token = [this, token = accessToken_](std::stop_token) {
            return tokenOf(token, isOffline);
        };
        return TeskalAPI(origin_, token, http_, clock_, u"1"_qs);
    }
    /// Whether a pass or an exchange of folders is under way.
    bool isBusy() const { return stores_->sync.isRunning() || stores_->folders.exchange().isUnderWay(); }
    /// What the service has: its chats, with those that it knows as deleted if asked for, and one of them.
    QStringList listed(bool deletedToo = false) {
        const TeskalAPI service = api();
        const ChatList list = waitFor([&](std::stop_token stop) { return service.listChats(stop); });
        QStringList ids;
        for (const ChatListEntry& entry : list.chats)
            if (deletedToo || !entry.deleted)
                ids.append(entry.id);
        return ids;
    }
    std::optional<WireChat> fetched(const QString& id) {
        const TeskalAPI service = api();
        return waitFor([&](std::stop_token stop) { return service.getChat(id, stop); });
    }
    QString path(const QString& file) const { return folder_.filePath(file); }

    /// Without a network every request fails before it leaves.
    bool isOffline = false;
    /// Files that sync has sent: "<id> <type> <bytes>".
    QStringList uploads;
    int pulls = 0;

private:
    struct Stores {
        Stores(const QString& folder, ManualClock& clock)
            : chats(folder, clock), folders(folder, clock), sync(folder, chats, clock) {
            QObject::connect(&chats, &ChatStore::edited, &sync,
                             [this] { sync.syncSoon(std::chrono::milliseconds(1500)); });
            QObject::connect(&chats, &ChatStore::deletedByUser, &sync,
                             [this](const QList<RemovedChat>& gone) {
                                 QStringList ids;
                                 for (const RemovedChat& chat : gone)
                                     ids.append(chat.id);
                                 folders.unfile(ids);
                                 sync.recordDeletes(gone);
                             });
        }
        ChatStore chats;
        FolderStore folders;
        ChatSync sync;
    };

    static QCoro::Task<QString> tokenOf(QString token, bool offline) {
        if (offline)
            throw HttpError(HttpError::Kind::Offline, 0, u"no network"_qs);
        co_return token;
    }

    QTemporaryDir folder_;
    QUrl origin_;
    QString accessToken_;
    ManualClock& clock_;
    HttpSession http_{clock_};
    std::unique_ptr<Stores> stores_;
};

} // namespace teskal::test
