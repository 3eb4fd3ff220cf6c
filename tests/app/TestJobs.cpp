#include "JobPoller.h"
#include "PauseClock.h"
#include "Pending.h"
#include "WireConversion.h"
#include "World.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

using namespace std::chrono_literals;

const QString chatsPath = QStringLiteral("/api/chats");
const QString videoPath = QStringLiteral("/api/video");
const QString messageId = QStringLiteral("message");
constexpr double longAgo = 26 * 60'000; ///< ms; longer than any job may take

Media begun(const char* type) {
    Media media;
    media.type = QLatin1String(type);
    media.status = QStringLiteral("pending");
    media.job = QStringLiteral("job&=1");
    media.requestId = QStringLiteral("request 1");
    return media;
}

Media failed(Media media, const char* text = nullptr) {
    media.status = QStringLiteral("error");
    if (text)
        media.message = QString::fromUtf8(text);
    return media;
}

Media done(Media media, const char* fileId, const char* mediaType = nullptr, const char* url = nullptr) {
    const auto optional = [](const char* text) {
        return text ? std::optional(QString::fromLatin1(text)) : std::nullopt;
    };
    media.status = QStringLiteral("done");
    media.fileId = optional(fileId);
    media.mediaType = optional(mediaType);
    media.url = optional(url);
    return media;
}

QJsonObject status(int code) {
    return {{QStringLiteral("status"), code}};
}

QJsonObject reply(const char* json) {
    return {{QStringLiteral("json"), QJsonDocument::fromJson(json).object()}};
}

const char* const doneReply = R"({"status": "done", "fileId": "file-1", "mediaType": "video/webm"})";

} // namespace

/// Videos and songs that the service takes its time for, from the answer that began them to their end.
class TestJobs final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        world_ = std::make_unique<World>(QStringList{QStringLiteral("--job-seconds"), QStringLiteral("600")},
                                         &clock_);
    }
    void init();
    void cleanup();
    void cleanupTestCase() { world_.reset(); }
    void outcomes_data();
    void outcomes();
    void startedAndFollowedAfterRelaunch_data();
    void startedAndFollowedAfterRelaunch();
    void verdictsWaitForTheHistory_data();
    void verdictsWaitForTheHistory();
    void jobOfAnotherDevice();
    void resultOfAnotherDeviceIsKept();
    void nobodyWantsToKnow_data();
    void nobodyWantsToKnow();
    void oldPollsTouchNothing_data();
    void oldPollsTouchNothing();

private:
    ChatStore& store() { return const_cast<ChatStore&>(world_->model().store()); }
    /// A saved chat with an answer that holds \a media.
    Chat chatWith(const Media& media);
    void keep(const Chat& chat) { store().upsertQuiet(chat); }
    void relaunch();
    Media media(const QString& chat) { return world_->last(chat).media.value_or(Media()); }
    bool waitForStatus(const QString& chat, const char* wanted);
    /// Lets the pause pass that is to come; the question after it has arrived at the service.
    bool nextQuestion(const QString& path);

    PauseClock clock_;
    std::unique_ptr<World> world_;
    int pauses_ = 0;    ///< that passed
    int questions_ = 0; ///< that arrived
    int chats_ = 0;
};

void TestJobs::init() {
    world_->control.post(QStringLiteral("reset"), QJsonObject());
    if (!world_->model().auth().isSignedIn())
        world_->signIn();
    pauses_ = clock_.begun;
    questions_ = 0;
}

void TestJobs::cleanup() {
    world_->control.releaseAll();
    if (!world_->model().auth().isSignedIn())
        world_->signIn(); // what is left goes, lest the next test follows it
    world_->model().newChat();
    world_->model().deleteAllChats();
    QVERIFY(waitUntil([this] { return clock_.running == 0; }));
}

Chat TestJobs::chatWith(const Media& media) {
    Chat chat;
    chat.id = QStringLiteral("chat-%1").arg(++chats_);
    chat.title = QStringLiteral("Media");
    chat.createdAt = chat.updatedAt = clock_.nowMs();
    ChatMessage message;
    message.id = messageId;
    message.role = Role::Assistant;
    message.media = media;
    chat.messages = {message};
    return chat;
}

void TestJobs::relaunch() {
    world_->quit();
    pauses_ = clock_.begun;
    world_->launch();
    clock_.advance(0s); // the first pass of the history begins
}

bool TestJobs::waitForStatus(const QString& chat, const char* wanted) {
    return waitUntil([&] { return media(chat).status == QLatin1String(wanted); });
}

bool TestJobs::nextQuestion(const QString& path) {
    if (!waitUntil([this] { return clock_.begun > pauses_; }))
        return false;
    ++pauses_;
    clock_.advance(PauseClock::pause);
    return world_->control.wait(path, QStringLiteral("received"), ++questions_);
}

void TestJobs::outcomes_data() {
    QTest::addColumn<Media>("before");
    QTest::addColumn<double>("age"); // ms; none when it is negative
    QTest::addColumn<QList<QJsonObject>>("replies");
    QTest::addColumn<Media>("after");
    QTest::addColumn<QString>("token");
    using Replies = QList<QJsonObject>;
    const QString token = QStringLiteral("job&=1");
    const Media video = begun("video");
    const Media finished = done(video, "file-1", "video/webm");
    QTest::newRow("done") << video << 0.0 << Replies{reply(doneReply)} << finished << token;
    QTest::newRow("complete, without a file")
        << video << 0.0 << Replies{reply(R"({"status": "complete", "url": "https://example.com/v"})")}
        << done(video, nullptr, nullptr, "https://example.com/v") << token;
    QTest::newRow("error") << video << 0.0 << Replies{reply(R"({"status": "error", "message": "No luck"})")}
                           << failed(video, "No luck") << token;
    QTest::newRow("error without a text")
        << video << 0.0 << Replies{reply(R"({"status": "error"})")} << failed(video) << token;
    QTest::newRow("unknown to the service")
        << video << 0.0 << Replies{status(404)}
        << failed(video, "This can’t be found any more. Ask again to make a new one.") << token;
    const QJsonObject lost{{QStringLiteral("status"), 200},
                           {QStringLiteral("body"), QStringLiteral("{\"status\": \"error\"}")},
                           {QStringLiteral("truncateAfterBytes"), 3}};
    QTest::newRow("failures on the way") << video << 0.0
                                         << Replies{status(500),
                                                    status(429),
                                                    status(401),
                                                    lost,
                                                    {{QStringLiteral("hang"), true}},
                                                    {{QStringLiteral("body"), QStringLiteral("no object")}},
                                                    reply(R"({"status": 7})"),
                                                    reply(R"({"status": "running"})"),
                                                    reply(doneReply)}
                                         << finished << token;

    Media song = begun("music");
    song.lyrics = QStringLiteral("La");
    Media sung = done(song, "file-2", "audio/wav");
    QTest::newRow("song that keeps its words")
        << song << 0.0
        << Replies{reply(R"({"status": "done", "fileId": "file-2", "mediaType": "audio/wav", "lyrics": ""})")}
        << sung << token;
    sung.lyrics = QStringLiteral("Lo");
    QTest::newRow("song with other words")
        << song << 0.0
        << Replies{reply(
               R"({"status": "done", "fileId": "file-2", "mediaType": "audio/wav", "lyrics": "Lo"})")}
        << sung << token;

    Media otherHandle = video;
    otherHandle.job.reset();
    QTest::newRow("handle is the request")
        << otherHandle << 0.0 << Replies{reply(doneReply)} << done(otherHandle, "file-1", "video/webm")
        << QStringLiteral("request 1");
    otherHandle.operation = JSONValue(JSONValue::Object{{QStringLiteral("job"), QStringLiteral("inner")}});
    QTest::newRow("handle in the operation")
        << otherHandle << 0.0 << Replies{reply(doneReply)} << done(otherHandle, "file-1", "video/webm")
        << QStringLiteral("inner");
    Media noHandle = video;
    noHandle.job.reset();
    noHandle.requestId.reset();
    QTest::newRow("no handle") << noHandle << 0.0 << Replies{}
                               << failed(noHandle,
                                         "This can’t be checked any more. Ask again to make a new one.")
                               << QString();

    const Media lateVideo = failed(video, "The video took too long. Ask again to try once more.");
    const Media lateSong = failed(song, "The song took too long. Ask again to try once more.");
    QTest::newRow("old video") << video << 1'500'001.0 << Replies{} << lateVideo << token;
    QTest::newRow("old song") << song << 900'001.0 << Replies{} << lateSong << token;
    const QJsonObject pending = reply(R"({"status": "pending"})");
    QTest::newRow("video that grows too old")
        << video << 1'496'000.0 << Replies{pending, pending} << lateVideo << token;
    // As after a sleep, with a network that is not there yet.
    QTest::newRow("video that grows old while nobody answers")
        << video << 1'496'000.0 << Replies{pending, lost, reply(doneReply)} << finished << token;
    QTest::newRow("video that grows too old while nobody answers")
        << video << 1'496'000.0 << Replies{pending, lost, lost, pending} << lateVideo << token;
    QTest::newRow("song that grows too old") << song << 899'000.0 << Replies{pending} << lateSong << token;
    QTest::newRow("without a start") << video << -1.0 << Replies{pending, reply(doneReply)} << finished
                                     << token;
}

void TestJobs::outcomes() {
    QFETCH(Media, before);
    QFETCH(const double, age);
    QFETCH(const QList<QJsonObject>, replies);
    QFETCH(Media, after);
    QFETCH(const QString, token);
    if (age >= 0)
        before.startedAt = after.startedAt = clock_.nowMs() - age;
    const Chat chat = chatWith(before);
    keep(chat);
    const QString path = before.type == QLatin1String("music") ? QStringLiteral("/api/music") : videoPath;
    for (QJsonObject override : replies) {
        override.insert(QStringLiteral("path"), path);
        world_->control.next(override);
    }
    relaunch();
    const QSignalSpy ended(&world_->model(), &AppModel::jobEnded);
    for (const QJsonObject& answered : replies) {
        QCOMPARE(media(chat.id).status, before.status);
        QVERIFY(nextQuestion(path));
        if (answered.contains(QStringLiteral("hang")))
            clock_.advance(60s);
    }
    QVERIFY(waitUntil([&] { return media(chat.id).status != before.status; }));
    QVERIFY(media(chat.id) == after);
    const QJsonArray asked = world_->control.requests(path);
    QCOMPARE(asked.size(), replies.size());
    for (const auto& request : asked)
        QCOMPARE(request[QLatin1String("query")][QLatin1String("job")].toString(), token);
    QCOMPARE(clock_.running, 0);
    world_->model().flush();
    QCOMPARE(ended, (QList<QVariantList>{{chat.id, messageId}}));
    int kept = 0;
    for (const Chat& stored : world_->stored(*store().owner()))
        kept += stored.id == chat.id && stored.messages.last().media == after;
    QCOMPARE(kept, 1);
}

void TestJobs::startedAndFollowedAfterRelaunch_data() {
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("path");
    QTest::newRow("video") << QStringLiteral("make a video") << videoPath;
    QTest::newRow("song") << QStringLiteral("make a song") << QStringLiteral("/api/music");
    QTest::newRow("broken video") << QStringLiteral("a broken video") << videoPath;
}

void TestJobs::startedAndFollowedAfterRelaunch() {
    QFETCH(const QString, question);
    QFETCH(const QString, path);
    const QString chat = world_->send(question);
    QVERIFY(world_->waitForEnd(chat));
    const Media begun = media(chat);
    QVERIFY(!world_->last(chat).pending);
    QCOMPARE(begun.startedAt.value(), clock_.nowMs());
    QVERIFY(nextQuestion(path)); // the job takes longer than that
    QVERIFY(waitUntil([this] { return clock_.begun > pauses_; }));
    QCOMPARE(media(chat).status, begun.status);
    relaunch();
    world_->control.post(QStringLiteral("clock"), QJsonObject{{QStringLiteral("offsetMs"), 1'000'000}});
    QVERIFY(nextQuestion(path));
    const auto realTime = qScopeGuard([this] {
        world_->control.post(QStringLiteral("clock"), QJsonObject{{QStringLiteral("real"), true}});
    });
    QVERIFY(waitForStatus(chat, question.contains(QStringLiteral("broken")) ? "error" : "done"));
    const Media ended = media(chat);
    QCOMPARE(ended.message.has_value(), question.contains(QStringLiteral("broken")));
    QCOMPARE(ended.fileId.has_value(), !ended.message.has_value());
    QVERIFY(ended.lyrics == begun.lyrics);
    QVERIFY(!world_->last(chat).error);
}

void TestJobs::verdictsWaitForTheHistory_data() {
    QTest::addColumn<int>("firstPass"); // status of the list
    QTest::addColumn<bool>("isDoneElsewhere");
    QTest::newRow("nothing new") << 200 << false;
    QTest::newRow("a pass that fails is none") << 500 << false;
    QTest::newRow("without a history") << 503 << false;
    QTest::newRow("another device has the result") << 200 << true;
    QTest::newRow("it comes with the second pass") << 500 << true;
}

void TestJobs::verdictsWaitForTheHistory() {
    QFETCH(const int, firstPass);
    QFETCH(const bool, isDoneElsewhere);
    Media old = begun("video");
    old.startedAt = clock_.nowMs() - longAgo;
    Chat chat = chatWith(old);
    keep(chat);
    if (isDoneElsewhere) {
        Chat newer = chat;
        newer.updatedAt += 1;
        newer.messages.last().media = done(old, "file-1", "video/webm");
        const TeskalAPI other = world_->otherDevice();
        waitFor([&, wire = wireChat(newer)](std::stop_token stop) { return other.putChat(wire, stop); });
    }
    world_->quit();
    world_->control.post(QStringLiteral("reset"), QJsonObject());
    if (firstPass != 200)
        world_->control.next({{QStringLiteral("path"), chatsPath}, {QStringLiteral("status"), firstPass}});
    world_->control.hold(chatsPath);
    clock_.advance(1s); // a verdict would be newer than what comes from elsewhere
    world_->launch();
    world_->model().syncNow();
    clock_.advance(0s);
    QVERIFY(world_->control.wait(chatsPath, QStringLiteral("held")));
    QVERIFY(media(chat.id) == old);
    world_->control.releaseAll();
    if (firstPass == 500) {
        QVERIFY(world_->control.wait(chatsPath, QStringLiteral("finished")));
        runQueued();
        QVERIFY(media(chat.id) == old);
    }
    QVERIFY(waitUntil([&] {
        world_->model().syncNow(); // the next pass, once the failed one is over
        clock_.advance(0s);
        return media(chat.id).status != old.status;
    }));
    QCOMPARE(media(chat.id).status.value(),
             isDoneElsewhere ? QStringLiteral("done") : QStringLiteral("error"));
    QVERIFY(world_->control.requests(videoPath).isEmpty());
}

void TestJobs::jobOfAnotherDevice() {
    Media started = begun("video");
    started.startedAt = clock_.nowMs();
    const Chat chat = chatWith(started);
    const TeskalAPI other = world_->otherDevice();
    waitFor([&, wire = wireChat(chat)](std::stop_token stop) { return other.putChat(wire, stop); });
    QJsonObject answer = reply(doneReply);
    answer.insert(QStringLiteral("path"), videoPath);
    world_->control.next(answer);
    world_->model().syncNow();
    clock_.advance(0s);
    QVERIFY(nextQuestion(videoPath));
    QVERIFY(waitForStatus(chat.id, "done"));
    const QString token =
        world_->control.lastRequest(videoPath)[QLatin1String("query")][QLatin1String("job")].toString();
    QCOMPARE(token, *started.job);
    clock_.advance(2s); // and the other one hears of it
    QVERIFY(waitUntil([&] {
        const auto wire = waitFor([&](std::stop_token stop) { return other.getChat(chat.id, stop); });
        return wire->messages->last().media->fileId == QStringLiteral("file-1");
    }));
}

void TestJobs::resultOfAnotherDeviceIsKept() {
    Media started = begun("video");
    started.startedAt = clock_.nowMs();
    Chat chat = chatWith(started);
    keep(chat);
    relaunch();
    world_->control.hold(videoPath);
    world_->control.next({{QStringLiteral("path"), videoPath}, {QStringLiteral("status"), 404}});
    QVERIFY(nextQuestion(videoPath));
    QVERIFY(world_->control.wait(videoPath, QStringLiteral("held")));
    chat.updatedAt = clock_.nowMs();
    chat.messages.last().media = done(started, "file-1");
    const TeskalAPI other = world_->otherDevice();
    waitFor([&, wire = wireChat(chat)](std::stop_token stop) { return other.putChat(wire, stop); });
    world_->model().syncNow();
    clock_.advance(0s);
    QVERIFY(waitForStatus(chat.id, "done"));
    world_->control.releaseAll();
    QVERIFY(world_->control.wait(videoPath, QStringLiteral("finished")));
    waitFor([&](std::stop_token stop) { return other.getChat(chat.id, stop); }); // the reply is older
    QCOMPARE(media(chat.id).status.value(), QStringLiteral("done"));
    QCOMPARE(clock_.running, 0);
}

void TestJobs::nobodyWantsToKnow_data() {
    QTest::addColumn<bool>("isAsking");
    QTest::addColumn<QString>("way");
    for (const char* way : {"delete", "sign out", "sign out and in", "ask again", "leave the private chat"}) {
        QTest::addRow("asleep, %s", way) << false << QString::fromLatin1(way);
        QTest::addRow("asking, %s", way) << true << QString::fromLatin1(way);
    }
}

void TestJobs::nobodyWantsToKnow() {
    QFETCH(const bool, isAsking);
    QFETCH(const QString, way);
    AppModel& model = world_->model();
    if (way.contains(QStringLiteral("private")))
        model.newPrivateChat();
    const QString chat = world_->send(QStringLiteral("make a video"));
    QVERIFY(world_->waitForEnd(chat));
    QCOMPARE(clock_.running, 1);
    const ChatMessage begun = world_->last(chat);
    if (isAsking) {
        QJsonObject answer = reply(doneReply);
        answer.insert(QStringLiteral("path"), videoPath);
        world_->control.next(answer);
        world_->control.hold(videoPath);
        QVERIFY(nextQuestion(videoPath));
    }

    // The end of a session would break this off, and sometimes the next sign-in's first request with it.
    QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
    if (way == QStringLiteral("delete"))
        model.deleteChat(chat);
    else if (way.contains(QStringLiteral("private")))
        model.newChat();
    else if (way.startsWith(QStringLiteral("sign out")))
        model.signOut();
    else
        model.retry();
    const bool comesBack = way == QStringLiteral("sign out and in");
    if (comesBack)
        world_->signIn();

    const int goesOn = comesBack ? 1 : 0;
    if (way != QStringLiteral("ask again"))
        QVERIFY(waitUntil([&] { return clock_.running == goesOn; }));
    if (isAsking) {
        QVERIFY(world_->control.wait(videoPath, QStringLiteral("finished")));
        QCOMPARE(world_->control.requests(videoPath).first()[QLatin1String("outcome")].toString(),
                 QStringLiteral("clientLeft"));
        world_->control.releaseAll();
    }
    if (way == QStringLiteral("ask again")) {
        QVERIFY(world_->waitForEnd(chat)); // the answer to the same question is followed in its place
        QVERIFY(waitUntil([&] { return clock_.running == 1; }));
        QVERIFY(world_->last(chat).id != begun.id);
    } else if (comesBack) {
        QVERIFY(world_->last(chat) == begun);
        pauses_ = clock_.begun - 1;
        QVERIFY(nextQuestion(videoPath));
        QVERIFY(waitUntil([&] { return clock_.running == 1; })); // the next pause: it takes its time
    } else {
        QVERIFY(!store().chat(chat));
    }
    QCOMPARE(world_->control.requests(videoPath).size(), (isAsking ? 1 : 0) + goesOn);
}

void TestJobs::oldPollsTouchNothing_data() {
    QTest::addColumn<bool>("leavesAccount");
    QTest::newRow("stopped and started in one turn") << false;
    QTest::newRow("the account was left and came back") << true;
}

void TestJobs::oldPollsTouchNothing() {
    QFETCH(const bool, leavesAccount);
    const QTemporaryDir folder;
    const QString owner = QStringLiteral("owner");
    ChatStore chats(folder.path(), clock_);
    chats.claim(owner);
    const Chat chat = chatWith(begun("video"));
    chats.upsertQuiet(chat);
    JobPoller poller(
        chats, clock_, [this] { return world_->otherDevice(); }, [] { return true; });
    world_->control.next({{QStringLiteral("path"), videoPath}, {QStringLiteral("status"), 404}});
    world_->control.hold(videoPath);
    poller.poll(chat.id, messageId);
    QVERIFY(nextQuestion(videoPath));
    if (leavesAccount) {
        chats.claim(std::nullopt);
        chats.claim(owner);
    } else {
        poller.cancel(messageId);
        poller.poll(chat.id, messageId);
    }
    world_->control.releaseAll();
    QVERIFY(world_->control.wait(videoPath, QStringLiteral("finished")));
    QVERIFY(waitUntil([&] { return poller.isPolling(messageId) != leavesAccount; }));
    runQueued();
    QCOMPARE(poller.isPolling(messageId), !leavesAccount);
    QCOMPARE(clock_.running, leavesAccount ? 0 : 1);
    chats.finishLoading();
    QVERIFY(*chats.chat(chat.id) == chat);
}

QTEST_GUILESS_MAIN(TestJobs)
#include "TestJobs.moc"
