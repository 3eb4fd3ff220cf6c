#pragma once

#include "Device.h"
#include "LocalService.h"
#include "LogCapture.h"
#include "Pending.h"
#include "ServiceControl.h"
#include "TestFiles.h"

#include <QJsonDocument>
#include <QObject>
#include <QTest>

#include <memory>

namespace teskal::test {

inline const QString chats = u"/api/chats"_qs;
inline const QString files = u"/api/files"_qs;
inline const QString stateFile = u"account1.sync.json"_qs;
constexpr double begun = 1'800'000'000'000.0; ///< of the clock

/// A chat of one message, "m", whose title is its identifier.
Chat chatOf(const QString& id, double updatedAt, const QString& text = u"text"_qs);
/// A file whose bytes only this machine has.
Attachment fileOf(const QString& mediaType, const QString& base64 = u"AAAA"_qs);
/// The content of a sync state file; each map as its members.
QByteArray stateJson(const QByteArray& confirmed, const QByteArray& deletes = {},
                     const QByteArray& sent = {});

/// What tests of one device against the service share. Each test has an account of its own.
class SyncTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void init();
    void cleanup();

protected:
    Device& device() { return *device_; }
    /// Puts files where the device finds them, and starts it.
    void boot(const QList<Chat>& stored = {}, const QByteArray& state = {});
    void put(const QString& name, const QByteArray& bytes) { writeFile(device().path(name), bytes); }
    QByteArray stored(const QString& name) { return contentOf(device().path(name)); }
    /// "confirmed", "deletes" or "sentDeletes" as the file has it.
    QJsonObject state(const char* part);
    /// The time that "confirmed" has for a chat.
    double confirmed(const QString& id) { return state("confirmed").value(id).toDouble(); }
    /// Lets time pass and runs the passes that are due then to their end.
    void settle(std::chrono::milliseconds after = {});
    void pass();
    void atService(const Chat& chat);
    void deletedAtService(const QString& id, double at);
    /// "GET, PUT c1", where the first is for the list, since the last call.
    QString takeRequests();
    /// What the service does with the next request of that kind.
    void next(const QString& path, const QString& method, QJsonObject what);
    /// An access token of an account that was not there before.
    QString newAccount() { return control_.accessToken(u"u%1@example.org"_qs.arg(++accounts_)); }
    /// Returns the identifier of the hold.
    int holdNext(const QString& method);

    LocalService service_{{u"--access-token-seconds"_qs, u"100000000"_qs}};
    ServiceControl control_{service_};
    std::unique_ptr<ManualClock> clock_; ///< stands at `begun` at first
    std::unique_ptr<Device> device_;
    QString token_; ///< of the device's account
    int accounts_ = 0;
    int seen_ = 0; ///< requests that takeRequests() has told
};

} // namespace teskal::test
