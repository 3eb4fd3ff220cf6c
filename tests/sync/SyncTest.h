#pragma once

#include "Device.h"
#include "LogCapture.h"
#include "ServiceControl.h"
#include "TestFiles.h"
#include "WireConversion.h"

#include <QJsonDocument>
#include <QObject>
#include <QTest>

namespace teskal::test {

inline const QString chats = u"/api/chats"_qs;
inline const QString files = u"/api/files"_qs;
inline const QString stateFile = u"account1.sync.json"_qs;
constexpr double begun = 1'800'000'000'000.0; ///< of the clock

/// A chat of one message, "m", whose title is its identifier.
inline Chat chatOf(const QString& id, double updatedAt, const QString& text = u"text"_qs) {
    return {id, id, 1, updatedAt, {{u"m"_qs, Role::User, text, {}, {}, {}, false, {}, {}}}};
}
/// A file whose bytes only this machine has.
inline Attachment fileOf(const QString& mediaType, const QString& base64 = u"AAAA"_qs) {
    return {u"n"_qs, mediaType, u"data:%1;base64,%2"_qs.arg(mediaType, base64), {}, false};
}
/// The content of a sync state file; each map as its members.
inline QByteArray stateJson(const QByteArray& confirmed, const QByteArray& deletes = {},
                            const QByteArray& sent = {}) {
    return "{\"confirmed\":{" + confirmed + "},\"deletes\":{" + deletes + "},\"sentDeletes\":{" + sent + "}}";
}

/// What tests of one device against the service share. Each test has an account of its own.
class SyncTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void init() {
        control_.post(u"reset"_qs, QJsonObject());
        seen_ = 0;
        clock_ = std::make_unique<ManualClock>(begun);
        token_ = newAccount();
        device_ = std::make_unique<Device>(service_.origin(), token_, *clock_);
        settle();
        takeRequests();
    }
    void cleanup() {
        device_.reset();
        clock_.reset();
    }

protected:
    Device& device() { return *device_; }
    /// Puts files where the device finds them, and starts it.
    void boot(const QList<Chat>& kept = {}, const QByteArray& state = {}) {
        device().crash();
        put(u"account1.json"_qs, encodeChats(kept));
        if (!state.isEmpty())
            put(stateFile, state);
        device().start();
    }
    void put(const QString& name, const QByteArray& bytes) { writeFile(device().path(name), bytes); }
    QByteArray stored(const QString& name) { return contentOf(device().path(name)); }
    /// "confirmed", "deletes" or "sentDeletes" as the file has it.
    QJsonObject state(const char* part) {
        device().sync().flush();
        const QByteArray file = stored(stateFile);
        return QJsonDocument::fromJson(file).object().value(QLatin1String(part)).toObject();
    }
    /// The time that "confirmed" has for a chat.
    double confirmed(const QString& id) { return state("confirmed").value(id).toDouble(); }
    /// Lets time pass and runs the passes that are due then to their end.
    void settle(std::chrono::milliseconds after = {}) {
        clock_->advance(after);
        QVERIFY(waitUntil([this] { return !device().isBusy(); }));
    }
    void pass() {
        device().sync().sync();
        settle();
    }
    void atService(const Chat& chat) {
        const TeskalAPI api = device().api();
        const WireChat wire = wireChat(chat);
        waitFor([&](std::stop_token stop) { return api.putChat(wire, stop); });
        takeRequests();
    }
    void deletedAtService(const QString& id, double at) {
        const TeskalAPI api = device().api();
        waitFor([&](std::stop_token stop) { return api.deleteChat(id, at, stop); });
        takeRequests();
    }
    /// "GET, PUT c1", where the first is for the list, since the last call.
    QString takeRequests() {
        QStringList lines;
        const QJsonArray all = control_.requests(u"/api/"_qs);
        for (; seen_ < all.size(); ++seen_) {
            const QJsonObject request = all[seen_].toObject();
            const QString path = request[u"path"].toString();
            if (path == u"/api/folders")
                continue;
            const QString id =
                request[u"query"][u"id"].toString() + request[u"json"][u"chat"][u"id"].toString();
            const QString what = path != chats ? path : id;
            lines.append((request[u"method"].toString() + u' ' + what).trimmed());
        }
        return lines.join(u", ");
    }
    /// What the service does with the next request of that kind.
    void next(const QString& path, const QString& method, QJsonObject what) {
        what.insert(u"path"_qs, path);
        what.insert(u"method"_qs, method);
        control_.next(what);
    }
    /// An access token of an account that was not there before.
    QString newAccount() { return control_.accessToken(u"u%1@example.org"_qs.arg(++accounts_)); }
    /// Returns the identifier of the hold.
    int holdNext(const QString& method) {
        return control_.post(u"hold"_qs, QJsonObject{{u"path"_qs, chats}, {u"method"_qs, method}})
            .value(u"id")
            .toInt();
    }

    LocalService service_{{u"--access-token-seconds"_qs, u"100000000"_qs}};
    ServiceControl control_{service_};
    std::unique_ptr<ManualClock> clock_; ///< stands at `begun` at first
    std::unique_ptr<Device> device_;
    QString token_; ///< of the device's account
    int accounts_ = 0;
    int seen_ = 0; ///< requests that takeRequests() has told
};

} // namespace teskal::test
