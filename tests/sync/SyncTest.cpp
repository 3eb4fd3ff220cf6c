#include "SyncTest.h"

#include "WireConversion.h"

namespace teskal::test {

Chat chatOf(const QString& id, double updatedAt, const QString& text) {
    Chat chat;
    chat.id = id;
    chat.title = id;
    chat.createdAt = 1;
    chat.updatedAt = updatedAt;
    ChatMessage message;
    message.id = u"m"_qs;
    message.content = text;
    chat.messages.append(message);
    return chat;
}

Attachment fileOf(const QString& mediaType, const QString& base64) {
    Attachment file;
    file.name = u"n"_qs;
    file.mediaType = mediaType;
    file.dataUrl = u"data:%1;base64,%2"_qs.arg(mediaType, base64);
    return file;
}

QByteArray stateJson(const QByteArray& confirmed, const QByteArray& deletes, const QByteArray& sent) {
    return "{\"confirmed\":{" + confirmed + "},\"deletes\":{" + deletes + "},\"sentDeletes\":{" + sent + "}}";
}

void SyncTest::init() {
    control_.post(u"reset"_qs, QJsonObject());
    seen_ = 0;
    clock_ = std::make_unique<ManualClock>(begun);
    token_ = newAccount();
    device_ = std::make_unique<Device>(service_.origin(), token_, *clock_);
    settle();
    takeRequests();
}

void SyncTest::cleanup() {
    device_.reset();
    clock_.reset();
}

QJsonObject SyncTest::state(const char* part) {
    device().sync().flush();
    const QByteArray file = stored(stateFile);
    return QJsonDocument::fromJson(file).object().value(QLatin1String(part)).toObject();
}

void SyncTest::boot(const QList<Chat>& kept, const QByteArray& state) {
    device().crash();
    put(u"account1.json"_qs, encodeChats(kept));
    if (!state.isEmpty())
        put(stateFile, state);
    device().start();
}

void SyncTest::settle(std::chrono::milliseconds after) {
    clock_->advance(after);
    QVERIFY(waitUntil([this] { return !device().isBusy(); }));
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

QString SyncTest::takeRequests() {
    QStringList lines;
    const QJsonArray all = control_.requests(u"/api/"_qs);
    for (; seen_ < all.size(); ++seen_) {
        const QJsonObject request = all[seen_].toObject();
        const QString path = request[u"path"].toString();
        if (path == u"/api/folders")
            continue;
        const QString id = request[u"query"][u"id"].toString() + request[u"json"][u"chat"][u"id"].toString();
        const QString what = path != chats ? path : id;
        lines.append((request[u"method"].toString() + u' ' + what).trimmed());
    }
    return lines.join(u", ");
}

void SyncTest::next(const QString& path, const QString& method, QJsonObject what) {
    what.insert(u"path"_qs, path);
    what.insert(u"method"_qs, method);
    control_.next(what);
}

int SyncTest::holdNext(const QString& method) {
    return control_.post(u"hold"_qs, QJsonObject{{u"path"_qs, chats}, {u"method"_qs, method}})
        .value(u"id")
        .toInt();
}

} // namespace teskal::test
