#include "Device.h"

#include "Pending.h"

namespace teskal::test {

namespace {

using namespace std::chrono_literals;

QCoro::Task<QString> tokenOf(QString token, bool offline) {
    if (offline)
        throw HttpError(HttpError::Kind::Offline, 0, u"no network"_qs);
    co_return token;
}

} // namespace

Device::Stores::Stores(const QString& folder, ManualClock& clock)
    : chats(folder, clock), folders(folder, clock), sync(folder, chats, clock) {
    QObject::connect(&chats, &ChatStore::edited, &sync, [this] { sync.syncSoon(1500ms); });
    QObject::connect(&chats, &ChatStore::deletedByUser, &sync, [this](const QList<RemovedChat>& gone) {
        QStringList ids;
        for (const RemovedChat& chat : gone)
            ids.append(chat.id);
        folders.unfile(ids);
        sync.recordDeletes(gone);
    });
}

Device::Device(QUrl origin, QString accessToken, ManualClock& clock)
    : origin_(std::move(origin)), accessToken_(std::move(accessToken)), clock_(clock) {
    start();
}

TeskalAPI Device::api() {
    return TeskalAPI(
        origin_, [this, token = accessToken_](std::stop_token) { return tokenOf(token, isOffline); }, http_,
        clock_, u"1"_qs);
}

QStringList Device::listed(bool deletedToo) {
    const TeskalAPI service = api();
    const ChatList list = waitFor([&](std::stop_token stop) { return service.listChats(stop); });
    QStringList ids;
    for (const ChatListEntry& entry : list.chats)
        if (deletedToo || !entry.deleted)
            ids.append(entry.id);
    return ids;
}

std::optional<WireChat> Device::fetched(const QString& id) {
    const TeskalAPI service = api();
    return waitFor([&](std::stop_token stop) { return service.getChat(id, stop); });
}

void Device::start() {
    stores_ = std::make_unique<Stores>(folder_.path(), clock_);
    QObject::connect(&sync(), &ChatSync::uploaded, &sync(),
                     [this](const QString& id, const QString& type, const QByteArray& bytes) {
                         uploads.append(u"%1 %2 %3"_qs.arg(id, type).arg(bytes.size()));
                     });
    QObject::connect(&sync(), &ChatSync::pulled, &sync(), [this] { ++pulls; });
    claim(account, accessToken_);
}

void Device::claim(const std::optional<QString>& owner, const QString& accessToken) {
    accessToken_ = accessToken;
    store().claim(owner);
    folders().claim(owner, owner ? std::optional(api()) : std::nullopt);
    sync().claim(owner, owner ? std::optional(api()) : std::nullopt);
    folders().syncSoon(0ms);
    sync().syncSoon(0ms);
    store().finishLoading();
}

void Device::crash() {
    stores_.reset();
}

void Device::quit() {
    store().flush();
    folders().flush();
    sync().flush();
    stores_.reset();
}

} // namespace teskal::test
