#include "SyncTest.h"

#include "WireConversion.h"

namespace teskal::test {

using namespace std::chrono_literals;

Chat chatOf(const QString& id, double updatedAt, const QString& text) {
    Chat chat;
    chat.id = id;
    chat.title = id;
    chat.createdAt = 1;
    chat.updatedAt = updatedAt;
    ChatMessage message;
    message.id = QStringLiteral("m");
    message.content = text;
    chat.messages.append(message);
    return chat;
}

Attachment fileOf(const QString& mediaType, const QString& base64) {
    Attachment file;
    file.name = QStringLiteral("n");
    file.mediaType = mediaType;
    file.dataUrl = QStringLiteral("data:%1;base64,%2").arg(mediaType, base64);
    return file;
}

QByteArray stateJson(const QByteArray& confirmed, const QByteArray& deletes, const QByteArray& sent) {
    return "{\"confirmed\":{" + confirmed + "},\"deletes\":{" + deletes + "},\"sentDeletes\":{" + sent + "}}";
}

void SyncTest::begin() {
    control_.post(QStringLiteral("reset"), QJsonObject());
    seen_ = 0;
    const QString email = QStringLiteral("u%1@example.org").arg(++accounts_);
    clock_ = std::make_unique<ManualClock>(begun);
    device_ = std::make_unique<Device>(service_.origin(), control_.accessToken(email), *clock_);
    settle();
    takeRequests();
}

void SyncTest::end() {
    device_.reset();
    clock_.reset();
}

QJsonObject SyncTest::state(const char* part) {
    device().sync().flush();
    const QByteArray file = stored(QStringLiteral("account1.sync.json"));
    return QJsonDocument::fromJson(file).object().value(QLatin1String(part)).toObject();
}

void SyncTest::boot(const QList<Chat>& kept, const QByteArray& state) {
    device().crash();
    put(QStringLiteral("account1.json"), encodeChats(kept));
    if (!state.isEmpty())
        put(QStringLiteral("account1.sync.json"), state);
    device().start();
}

void SyncTest::settle() {
    clock_->advance(0ms);
    QVERIFY(waitUntil([this] { return !device().sync().isRunning(); }));
}

void SyncTest::pass() {
    device().sync().sync();
    settle();
}

void SyncTest::atService(const Chat& chat) {
    const TeskalAPI api = device().api();
    const WireChat wire = wireChat(chat);
    waitFor([&](std::stop_token stop) { return api.putChat(wire, stop); });
    takeRequests();
}

void SyncTest::deletedAtService(const QString& id, double at) {
    const TeskalAPI api = device().api();
    waitFor([&](std::stop_token stop) { return api.deleteChat(id, at, stop); });
    takeRequests();
}

QStringList SyncTest::takeRequests() {
    QStringList lines;
    const QJsonArray all = control_.requests(QStringLiteral("/api/"));
    for (; seen_ < all.size(); ++seen_) {
        const QJsonObject request = all[seen_].toObject();
        const QString path = request[QLatin1String("path")].toString();
        if (path == QLatin1String("/api/folders"))
            continue;
        const QString id =
            request[QLatin1String("query")][QLatin1String("id")].toString() +
            request[QLatin1String("json")][QLatin1String("chat")][QLatin1String("id")].toString();
        const QString what = path != chats ? path : id;
        lines.append((request[QLatin1String("method")].toString() + QLatin1Char(' ') + what).trimmed());
    }
    return lines;
}

int SyncTest::holdNext(const QString& method) {
    return control_
        .post(QStringLiteral("hold"),
              QJsonObject{{QStringLiteral("path"), chats}, {QStringLiteral("method"), method}})
        .value(QLatin1String("id"))
        .toInt();
}

} // namespace teskal::test
