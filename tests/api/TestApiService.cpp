#include "ApiClient.h"
#include "ServiceControl.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

using Api = const TeskalAPI&;
using Stop = std::stop_token;

const QString id = QStringLiteral("chat-1");

WireChat chatAt(double updatedAt) {
    WireChat chat;
    chat.id = id;
    chat.title = QStringLiteral("Ünder “way”");
    chat.createdAt = 1'700'000'000'000.0;
    chat.updatedAt = updatedAt;
    WireMessage message;
    message.id = QStringLiteral("m-1");
    message.role = QStringLiteral("user");
    message.content = QStringLiteral("Line\nbreak \U0001F600");
    message.attachments.append(
        {QStringLiteral("a.png"), QStringLiteral("image/png"), QStringLiteral("f-1234")});
    message.route = JSONValue(JSONValue::Object{{QStringLiteral("web"), true}});
    chat.messages = QList<WireMessage>{message};
    return chat;
}

} // namespace

/// Every call against the local service: what one side writes, the other one reads.
class TestApiService final : public QObject {
    Q_OBJECT

    template<typename Body>
    auto call(Body body) {
        return waitFor([&](std::stop_token stop) { return body(client_->api, std::move(stop)); });
    }

private Q_SLOTS:
    void initTestCase() { client_ = std::make_unique<ApiClient>(service_.origin(), control_.accessToken()); }

    void chats() {
        constexpr double later = 1'700'000'000'002.0;
        const auto get = [](Api api, Stop stop) { return api.getChat(id, stop); };
        const auto put = [this](double time) {
            return call([time](Api api, Stop stop) { return api.putChat(chatAt(time), stop); });
        };
        QVERIFY(!call(get));
        QVERIFY(put(later) == ChatPutOutcome(ChatSaved()));
        QVERIFY(call(get) == chatAt(later));
        QVERIFY(put(later - 1) == ChatPutOutcome(NewerChat{chatAt(later)}));
        const auto list = [](Api api, Stop stop) { return api.listChats(stop); };
        const ChatList here{true, {{id, chatAt(0).title, later, false}}};
        QVERIFY(call(list) == here);
        call([](Api api, Stop stop) { return api.deleteChat(id, later + 1, stop); });
        QVERIFY(!call(get));
        QVERIFY(put(later) == ChatPutOutcome(ChatDeleted()));
        const ChatList gone = call(list);
        QCOMPARE(gone.chats.size(), 1);
        QVERIFY(gone.chats.first().deleted);
        QCOMPARE(gone.chats.first().updatedAt, later + 1);
    }

    void folders() {
        const double time = double(QDateTime::currentMSecsSinceEpoch()); // old deletions are forgotten
        FolderDocument document;
        document.folders.append({QStringLiteral("folder-1"), QStringLiteral("Père"), 1.5, time, time});
        document.assignments.append({id, QStringLiteral("folder-1"), time});
        document.deleted.insert(QStringLiteral("folder-2"), time);
        const FolderSyncReply reply =
            call([&](Api api, Stop stop) { return api.syncFolders(document, std::nullopt, stop); });
        QCOMPARE(reply.status, 200);
        QVERIFY(reply.document == document);
        QVERIFY(reply.serverTime.value_or(0) >= time);
        auto refused = start(
            [&](Stop stop) { return client_->api.syncFolders(document, QStringLiteral("of nobody"), stop); });
        QVERIFY(ended(refused).failure.startsWith(QLatin1String("API 401 ")));
    }

    void files() {
        const QByteArray bytes = QByteArray(300'000, '\xFE') + QByteArray(1, '\0');
        const QString file = call(
            [&](Api api, Stop stop) { return api.uploadFile(bytes, QStringLiteral("image/webp"), stop); });
        const FileContent content = call([&](Api api, Stop stop) { return api.readFile(file, stop); });
        QVERIFY(content.bytes == bytes);
        QCOMPARE(content.mediaType, QStringLiteral("image/webp"));
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file"));
        QCOMPARE(call([&](Api api, Stop stop) { return api.downloadFile(file, path, stop); }),
                 content.mediaType);
        QFile saved(path);
        QVERIFY(saved.open(QFile::ReadOnly) && saved.readAll() == bytes);
    }

    void jobs() {
        ChatMessage message;
        message.id = QStringLiteral("m-1");
        message.content = QStringLiteral("make a song");
        const auto ignore = [](const auto&) {};
        const ChatCallbacks callbacks(ignore, ignore, ignore);
        const ChatResult song =
            call([&](Api api, Stop stop) { return api.chat({message}, false, callbacks, stop); });
        const QString token = std::get<MusicResult>(song).requestId.value();
        const JobStatus job =
            call([&](Api api, Stop stop) { return api.jobStatus(QStringLiteral("music"), token, stop); });
        QVERIFY(job.isDone());
        QVERIFY(job.lyrics);
        const FileContent result =
            call([&](Api api, Stop stop) { return api.readFile(job.fileId.value(), stop); });
        QCOMPARE(result.mediaType, job.mediaType.value());
        auto unknown =
            start([&](Stop stop) { return client_->api.jobStatus(QStringLiteral("video"), token, stop); });
        QVERIFY(ended(unknown).failure.startsWith(QLatin1String("API 404 ")));
    }

    void account() {
        const Billing billing = call([](Api api, Stop stop) { return api.billing(true, stop); });
        QVERIFY(billing.enabled && billing.balance && billing.creditUsd);
        const QUrl page = call([](Api api, Stop stop) { return api.checkout(500, stop); });
        QCOMPARE(page.host(), service_.origin().host());

        const SettingsReply before = call([](Api api, Stop stop) { return api.settings(stop); });
        const QStringList off = before.models.value(0).ids;
        call([&](Api api, Stop stop) { return api.saveSettings(std::nullopt, off, stop); });
        call([&](Api api, Stop stop) {
            return api.saveSettings(!before.settings.anonymize, std::nullopt, stop);
        });
        const SettingsReply after = call([](Api api, Stop stop) { return api.settings(stop); });
        const AccountSettings expected{!before.settings.anonymize, off};
        QVERIFY(!off.isEmpty() && after.settings == expected);

        const QList<PoolModel> pool = call([](Api api, Stop stop) { return api.pool(stop); });
        QVERIFY(!pool.isEmpty() && pool.first().health && pool.first().health->samples);
    }

    void keys() {
        const NewAPIKey key =
            call([](Api api, Stop stop) { return api.createKey(QStringLiteral("Scripts"), stop); });
        call([&](Api api, Stop stop) { return api.revokeKey(key.id.value(), stop); });
        const APIKeyList all = call([](Api api, Stop stop) { return api.listKeys(stop); });
        QCOMPARE(all.keys.size(), 1);
        QVERIFY(key.secret.startsWith(all.keys.first().prefix));
        QVERIFY(all.keys.first().revokedAt);
    }

    void voiceAndLinks() {
        const QString heard = call(
            [](Api api, Stop stop) { return api.transcribe("RIFF", QStringLiteral("audio/wav"), stop); });
        QVERIFY(heard.contains(QLatin1String("audio/wav")));
        const QByteArray audio =
            call([](Api api, Stop stop) { return api.speech(QStringLiteral("Hello"), stop); });
        QVERIFY(audio.startsWith("RIFF"));
        const PassthroughReply card = call([](Api api, Stop stop) {
            return api.passthrough(QStringLiteral("/api/unfurl?url=https%3A%2F%2Fa.example%2Ffirst-steps"),
                                   QStringLiteral("GET"), std::nullopt, stop);
        });
        QVERIFY(card.status == 200 && card.body.contains(QLatin1String("First steps")));
    }

private:
    LocalService service_{{QStringLiteral("--job-seconds"), QStringLiteral("0")}};
    ServiceControl control_{service_};
    std::unique_ptr<ApiClient> client_;
};

QTEST_GUILESS_MAIN(TestApiService)
#include "TestApiService.moc"
