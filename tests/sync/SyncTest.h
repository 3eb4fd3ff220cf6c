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

inline const QString chats = QStringLiteral("/api/chats");
inline const QString files = QStringLiteral("/api/files");
constexpr double begun = 1'800'000'000'000.0; ///< of the clock

/// A chat of one message, "m", whose title is its identifier.
Chat chatOf(const QString& id, double updatedAt, const QString& text = QStringLiteral("text"));
/// A file whose bytes only this machine has.
Attachment fileOf(const QString& mediaType, const QString& base64 = QStringLiteral("AAAA"));
/// The content of a sync state file; each map as its members.
QByteArray stateJson(const QByteArray& confirmed, const QByteArray& deletes = {},
                     const QByteArray& sent = {});

/// What tests of one device against the service share. Each test has an account of its own.
class SyncTest : public QObject {
    Q_OBJECT

protected:
    void begin();
    void end();

    Device& device() { return *device_; }
    /// Puts files where the device finds them, and starts it.
    void boot(const QList<Chat>& stored = {}, const QByteArray& state = {});
    void put(const QString& name, const QByteArray& bytes) { writeFile(device().path(name), bytes); }
    QByteArray stored(const QString& name) { return contentOf(device().path(name)); }
    /// "confirmed", "deletes" or "sentDeletes" as the file has it.
    QJsonObject state(const char* part);
    /// The time that "confirmed" has for a chat.
    double confirmed(const QString& id) { return state("confirmed").value(id).toDouble(); }
    /// Runs the passes that are due now to their end.
    void settle();
    void pass();
    void atService(const Chat& chat);
    void deletedAtService(const QString& id, double at);
    /// "GET" (the list), "PUT c1" …, since the last call.
    QStringList takeRequests();
    /// Returns the identifier of the hold.
    int holdNext(const QString& method);

    LocalService service_{{QStringLiteral("--access-token-seconds"), QStringLiteral("100000000")}};
    ServiceControl control_{service_};
    std::unique_ptr<ManualClock> clock_; ///< stands at `begun` at first
    std::unique_ptr<Device> device_;
    int accounts_ = 0;
    int seen_ = 0; ///< requests that takeRequests() has told
};

} // namespace teskal::test
