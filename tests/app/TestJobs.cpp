#include "Columns.h"
#include "JobPoller.h"
#include "PauseClock.h"
#include "Pending.h"
#include "WireConversion.h"
#include "World.h"

#include <QJsonDocument>

using namespace teskal::test;

namespace {

using namespace std::chrono_literals;

const QString chatsPath = u"/api/chats"_qs;
const QString videoPath = u"/api/video"_qs;
const QString messageId = u"message"_qs;
constexpr double longAgo = 26 * 60'000; ///< ms; longer than any job may take

Media begun(const char* type) {
    Media media;
    media.type = QLatin1String(type);
    media.status = u"pending"_qs;
    media.job = u"job&=1"_qs;
    media.requestId = u"request 1"_qs;
    return media;
}

Media failed(Media media, const char* text = nullptr) {
    media.status = u"error"_qs;
    if (text)
        media.message = QString::fromUtf8(text);
    return media;
}

Media done(Media media, const std::optional<QString>& fileId, const std::optional<QString>& mediaType = {}) {
    media.status = u"done"_qs;
    media.fileId = fileId;
    media.mediaType = mediaType;
    return media;
}

QJsonObject status(int code) {
    return {{u"status"_qs, code}};
}

QJsonObject reply(const char* json) {
    return {{u"json"_qs, QJsonDocument::fromJson(json).object()}};
}

const char* const doneReply = R"({"status": "done", "fileId": "file-1", "mediaType": "video/webm"})";

} // namespace

/// Videos and songs that the service takes its time for, from the answer that began them to their end.
class TestJobs final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        world_ = std::make_unique<World>(QStringList{u"--job-seconds"_qs, u"600"_qs}, &clock_);
    }

    void init() {
        world_->control.post(u"reset"_qs, QJsonObject());
        if (!world_->model().auth().isSignedIn())
            world_->signIn();
        pauses_ = clock_.begun;
        questions_ = 0;
    }

    void cleanup() {
        world_->control.releaseAll();
        if (!world_->model().auth().isSignedIn())
            world_->signIn(); // what is left goes, lest the next test follows it
        world_->model().newChat();
        world_->model().deleteAllChats();
        QVERIFY(waitUntil([this] { return clock_.running == 0; }));
        // A pass of the history that is still under way would meet what the next test prepares. The new
        // start's first one waits for the clock.
        world_->quit();
        world_->launch();
    }

    void cleanupTestCase() { world_.reset(); }

    void outcomes_data() {
        // age: ms, none when it is negative; token: empty for the one that begun() gives
        const auto row = columns<Media, QList<QJsonObject>, Media, double, QString>("before", "replies",
                                                                                    "after", "age", "token");
        using Replies = QList<QJsonObject>;
        const Media video = begun("video");
        const Media finished = done(video, u"file-1"_qs, u"video/webm"_qs);
        const QJsonObject good = reply(doneReply);
        row("done", video, Replies{good}, finished);
        Media elsewhere = done(video, {});
        elsewhere.url = u"example.com/v"_qs;
        row("complete, without a file", video,
            Replies{reply(R"({"status": "complete", "url": "example.com/v"})")}, elsewhere);
        row("error", video, Replies{reply(R"({"status": "error", "message": "No luck"})")},
            failed(video, "No luck"));
        row("error without a text", video, Replies{reply(R"({"status": "error"})")}, failed(video));
        row("unknown to the service", video, Replies{status(404)},
            failed(video, "This can’t be found any more. Ask again to make a new one."));
        const QJsonObject lost{
            {u"status"_qs, 200}, {u"body"_qs, u"{\"status\": \"error\"}"_qs}, {u"truncateAfterBytes"_qs, 3}};
        const Replies odd{{{u"hang"_qs, true}}, {{u"body"_qs, u"no object"_qs}}, reply(R"({"status": 7})")};
        row("failures on the way", video,
            Replies{status(500), status(429), status(401), lost} + odd +
                Replies{reply(R"({"status": "running"})"), good},
            finished);

        Media song = begun("music");
        song.lyrics = u"La"_qs;
        Media sung = done(song, u"file-2"_qs);
        row("song that keeps its words", song,
            Replies{reply(R"({"status": "done", "fileId": "file-2", "lyrics": ""})")}, sung);
        sung.lyrics = u"Lo"_qs;
        row("song with other words", song,
            Replies{reply(R"({"status": "done", "fileId": "file-2", "lyrics": "Lo"})")}, sung);

        Media other = video;
        other.job.reset();
        const auto ended = [&] { return done(other, finished.fileId, finished.mediaType); };
        row("handle is the request", other, Replies{good}, ended(), 0.0, "request 1");
        other.operation = JSONValue(JSONValue::Object{{u"job"_qs, u"inner"_qs}});
        row("handle in the operation", other, Replies{good}, ended(), 0.0, "inner");
        other.operation.reset();
        other.requestId.reset();
        row("no handle", other, Replies{},
            failed(other, "This can’t be checked any more. Ask again to make a new one."));

        const Media lateVideo = failed(video, "The video took too long. Ask again to try once more.");
        const Media lateSong = failed(song, "The song took too long. Ask again to try once more.");
        const QJsonObject pending = reply(R"({"status": "pending"})");
        row("old video", video, Replies{}, lateVideo, 1'500'001.0);
        row("old song", song, Replies{}, lateSong, 900'001.0);
        row("video that grows too old", video, Replies{pending, pending}, lateVideo, 1'496'000.0);
        // As after a sleep, with a network that is not there yet.
        row("grows old while nobody answers", video, Replies{pending, lost, good}, finished, 1'496'000.0);
        row("too old while nobody answers", video, Replies{pending, lost, lost, pending}, lateVideo,
            1'496'000.0);
        row("song that grows too old", song, Replies{pending}, lateSong, 899'000.0);
        row("without a start", video, Replies{pending, good}, finished, -1.0);
    }

    void outcomes() {
        QFETCH(Media, before);
        QFETCH(Media, after);
        FETCH(QList<QJsonObject>, replies, double, age, QString, token);
        if (age >= 0)
            before.startedAt = after.startedAt = clock_.nowMs() - age;
        const Chat chat = chatWith(before);
        keep(chat);
        const QString path = before.type == u"music" ? u"/api/music"_qs : videoPath;
        for (const QJsonObject& override : replies)
            answerNext(override, path);
        relaunch();
        const QSignalSpy ended(&world_->model(), &AppModel::jobEnded);
        for (const QJsonObject& answered : replies) {
            QCOMPARE(media(chat.id).status, before.status);
            QVERIFY(nextQuestion(path));
            if (answered.contains(u"hang"_qs))
                clock_.advance(60s);
        }
        QVERIFY(waitUntil([&] { return media(chat.id).status != before.status; }));
        QVERIFY(media(chat.id) == after);
        const QJsonArray asked = world_->control.requests(path);
        QCOMPARE(asked.size(), replies.size());
        for (const auto& request : asked)
            QCOMPARE(request[u"query"][u"job"].toString(), token.isEmpty() ? u"job&=1"_qs : token);
        QCOMPARE(clock_.running, 0);
        world_->model().flush();
        QCOMPARE(ended, (QList<QVariantList>{{chat.id, messageId}}));
        int kept = 0;
        for (const Chat& stored : world_->stored(*store().owner()))
            kept += stored.id == chat.id && stored.messages.last().media == after;
        QCOMPARE(kept, 1);
    }

    void startedAndFollowedAfterRelaunch_data() {
        const auto row = columns<QString, QString>("question", "path");
        row("video", "make a video", videoPath);
        row("song", "make a song", "/api/music");
        row("broken video", "a broken video", videoPath);
    }

    void startedAndFollowedAfterRelaunch() {
        FETCH(QString, question, QString, path);
        const QString chat = world_->ask(question);
        const Media begun = media(chat);
        QVERIFY(!world_->last(chat).pending);
        QCOMPARE(begun.startedAt.value(), clock_.nowMs());
        QVERIFY(nextQuestion(path)); // the job takes longer than that
        QVERIFY(waitUntil([this] { return clock_.begun > pauses_; }));
        QCOMPARE(media(chat).status, begun.status);
        relaunch();
        world_->control.post(u"clock"_qs, QJsonObject{{u"offsetMs"_qs, 1'000'000}});
        QVERIFY(nextQuestion(path));
        const auto realTime = qScopeGuard([this] {
            world_->control.post(u"clock"_qs, QJsonObject{{u"real"_qs, true}});
        });
        QVERIFY(waitForStatus(chat, question.contains(u"broken"_qs) ? "error" : "done"));
        const Media ended = media(chat);
        QCOMPARE(ended.message.has_value(), question.contains(u"broken"_qs));
        QCOMPARE(ended.fileId.has_value(), !ended.message.has_value());
        QVERIFY(ended.lyrics == begun.lyrics && !world_->last(chat).error);
    }

    void verdictsWaitForTheHistory_data() {
        // firstPass: status of the list
        const auto row = columns<int, bool>("firstPass", "isDoneElsewhere");
        row("nothing new", 200, false);
        row("a pass that fails is none", 500, false);
        row("without a history", 503, false);
        row("another device has the result", 200, true);
        row("it comes with the second pass", 500, true);
    }

    void verdictsWaitForTheHistory() {
        FETCH(int, firstPass, bool, isDoneElsewhere);
        const Media old = videoBegun(longAgo);
        const Chat chat = chatWith(old);
        keep(chat);
        if (isDoneElsewhere) {
            Chat newer = chat;
            newer.updatedAt += 1;
            newer.messages.last().media = done(old, u"file-1"_qs);
            putElsewhere(newer);
        }
        world_->quit();
        world_->control.post(u"reset"_qs, QJsonObject());
        if (firstPass != 200)
            world_->control.next({{u"path"_qs, chatsPath}, {u"status"_qs, firstPass}});
        world_->control.hold(chatsPath);
        clock_.advance(1s); // a verdict would be newer than what comes from elsewhere
        world_->launch();
        sync();
        QVERIFY(world_->control.wait(chatsPath, u"held"_qs));
        QVERIFY(media(chat.id) == old);
        world_->control.releaseAll();
        if (firstPass == 500) {
            QVERIFY(world_->control.wait(chatsPath, u"finished"_qs));
            runQueued();
            QVERIFY(media(chat.id) == old);
        }
        QVERIFY(waitUntil([&] {
            sync(); // the next pass, once the failed one is over
            return media(chat.id).status != old.status;
        }));
        QCOMPARE(media(chat.id).status.value(), isDoneElsewhere ? u"done"_qs : u"error"_qs);
        QVERIFY(world_->control.requests(videoPath).isEmpty());
    }

    void jobOfAnotherDevice() {
        const Media started = videoBegun();
        const Chat chat = chatWith(started);
        putElsewhere(chat);
        answerNext(reply(doneReply));
        sync();
        QVERIFY(nextQuestion(videoPath));
        QVERIFY(waitForStatus(chat.id, "done"));
        const QString token = world_->control.lastRequest(videoPath)[u"query"][u"job"].toString();
        QCOMPARE(token, *started.job);
        clock_.advance(2s); // and the other one hears of it
        QVERIFY(
            waitUntil([&] { return elsewhere(chat.id)->messages->last().media->fileId == u"file-1"_qs; }));
    }

    void resultOfAnotherDeviceIsKept() {
        const Media started = videoBegun();
        Chat chat = chatWith(started);
        keep(chat);
        relaunch();
        world_->control.hold(videoPath);
        answerNext(status(404));
        QVERIFY(nextQuestion(videoPath));
        QVERIFY(world_->control.wait(videoPath, u"held"_qs));
        chat.updatedAt = clock_.nowMs();
        chat.messages.last().media = done(started, u"file-1"_qs);
        putElsewhere(chat);
        sync();
        QVERIFY(waitForStatus(chat.id, "done"));
        world_->control.releaseAll();
        QVERIFY(world_->control.wait(videoPath, u"finished"_qs));
        elsewhere(chat.id); // the reply is older
        QCOMPARE(media(chat.id).status.value(), u"done"_qs);
        QCOMPARE(clock_.running, 0);
    }

    void nobodyWantsToKnow_data() {
        columns<bool, QString>("isAsking", "way");
        for (const char* way :
             {"delete", "sign out", "sign out and in", "ask again", "leave the private chat"}) {
            QTest::addRow("asleep, %s", way) << false << QString::fromLatin1(way);
            QTest::addRow("asking, %s", way) << true << QString::fromLatin1(way);
        }
    }

    void nobodyWantsToKnow() {
        FETCH(bool, isAsking, QString, way);
        AppModel& model = world_->model();
        if (way.contains(u"private"_qs))
            model.newPrivateChat();
        const QString chat = world_->ask(u"make a video"_qs);
        QCOMPARE(clock_.running, 1);
        const ChatMessage begun = world_->last(chat);
        if (isAsking) {
            answerNext(reply(doneReply));
            world_->control.hold(videoPath);
            QVERIFY(nextQuestion(videoPath));
        }

        // The end of a session would break this off, and sometimes the next sign-in's first request with it.
        QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
        if (way == u"delete"_qs)
            model.deleteChat(chat);
        else if (way.contains(u"private"_qs))
            model.newChat();
        else if (way.startsWith(u"sign out"_qs))
            model.signOut();
        else
            model.retry();
        const bool comesBack = way == u"sign out and in"_qs;
        if (comesBack)
            world_->signIn();

        const int goesOn = comesBack ? 1 : 0;
        if (way != u"ask again"_qs)
            QVERIFY(waitUntil([&] { return clock_.running == goesOn; }));
        if (isAsking) {
            QVERIFY(world_->control.wait(videoPath, u"finished"_qs));
            QCOMPARE(world_->control.requests(videoPath).first()[u"outcome"].toString(), u"clientLeft"_qs);
            world_->control.releaseAll();
        }
        if (way == u"ask again"_qs) {
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

    void oldPollsTouchNothing_data() {
        rows<bool>("leavesAccount", {{"stopped and started in one turn", false},
                                     {"the account was left and came back", true}});
    }

    void oldPollsTouchNothing() {
        QFETCH(const bool, leavesAccount);
        const QTemporaryDir folder;
        const QString owner = u"owner"_qs;
        ChatStore chats(folder.path(), clock_);
        chats.claim(owner);
        const Chat chat = chatWith(begun("video"));
        chats.upsertQuiet(chat);
        JobPoller poller(
            chats, clock_, [this] { return world_->otherDevice(); }, [] { return true; });
        world_->control.next({{u"path"_qs, videoPath}, {u"status"_qs, 404}});
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
        QVERIFY(world_->control.wait(videoPath, u"finished"_qs));
        QVERIFY(waitUntil([&] { return poller.isPolling(messageId) != leavesAccount; }));
        runQueued();
        QCOMPARE(poller.isPolling(messageId), !leavesAccount);
        QCOMPARE(clock_.running, leavesAccount ? 0 : 1);
        chats.finishLoading();
        QVERIFY(*chats.chat(chat.id) == chat);
    }

private:
    ChatStore& store() { return const_cast<ChatStore&>(world_->model().store()); }
    /// A saved chat with an answer that holds \a media.
    Chat chatWith(const Media& media) {
        Chat chat;
        chat.id = u"chat-%1"_qs.arg(++chats_);
        chat.title = u"Media"_qs;
        chat.createdAt = chat.updatedAt = clock_.nowMs();
        ChatMessage message;
        message.id = messageId;
        message.role = Role::Assistant;
        message.media = media;
        chat.messages = {message};
        return chat;
    }

    Media videoBegun(double ago = 0) {
        Media video = begun("video");
        video.startedAt = clock_.nowMs() - ago;
        return video;
    }

    void keep(const Chat& chat) { store().upsertQuiet(chat); }

    void putElsewhere(const Chat& chat) {
        const TeskalAPI other = world_->otherDevice();
        waitFor([&, wire = wireChat(chat)](std::stop_token stop) { return other.putChat(wire, stop); });
    }

    /// As another device gets the chat.
    std::optional<WireChat> elsewhere(const QString& chat) {
        const TeskalAPI other = world_->otherDevice();
        return waitFor([&](std::stop_token stop) { return other.getChat(chat, stop); });
    }

    void answerNext(QJsonObject what, const QString& path = videoPath) {
        what.insert(u"path"_qs, path);
        world_->control.next(what);
    }

    /// Lets a pass of the history begin.
    void sync() {
        world_->model().syncNow();
        clock_.advance(0s);
    }

    void relaunch() {
        world_->quit();
        pauses_ = clock_.begun;
        world_->launch();
        clock_.advance(0s); // the first pass of the history begins
    }

    Media media(const QString& chat) { return world_->last(chat).media.value_or(Media()); }

    bool waitForStatus(const QString& chat, const char* wanted) {
        return waitUntil([&] { return media(chat).status == QLatin1String(wanted); });
    }

    /// Lets the pause pass that is to come; the question after it has arrived at the service.
    bool nextQuestion(const QString& path) {
        if (!waitUntil([this] { return clock_.begun > pauses_; }))
            return false;
        ++pauses_;
        clock_.advance(PauseClock::pause);
        return world_->control.wait(path, u"received"_qs, ++questions_);
    }

    PauseClock clock_;
    std::unique_ptr<World> world_;
    int pauses_ = 0;    ///< that passed
    int questions_ = 0; ///< that arrived
    int chats_ = 0;
};

QTEST_GUILESS_MAIN(TestJobs)
#include "TestJobs.moc"
