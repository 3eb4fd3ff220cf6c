#include "Columns.h"
#include "Completion.h"
#include "InlineFiles.h"
#include "RecordingPage.h"
#include "TranscriptActions.h"
#include "TranscriptBridge.h"

#include <QJsonDocument>
#include <QRegularExpression>

using namespace teskal::test;

namespace {

QCoro::Task<FetchReply> replyOf(Completion<FetchReply> reply, std::stop_token stop) {
    const FetchReply received = co_await reply.wait(stop);
    co_return received;
}

/// Writes down what the page asked for, and shows the chat it was given when the page is ready.
class RecordingActions final : public TranscriptActions {
public:
    void showCurrentChat() override {
        if (bridge)
            bridge->show(chat, busy);
    }
    void send(const QString& text) override { asked.append(u"send "_qs + text); }
    void retry() override { asked.append(u"retry"_qs); }
    void copyText(const QString& text) override { asked.append(u"copy "_qs + text); }
    void openLink(const QString& url) override { asked.append(u"open "_qs + url); }
    void signIn() override { asked.append(u"signIn"_qs); }
    void speak(const QString& id, const QString& text) override {
        asked.append(u"speak %1 %2"_qs.arg(id, text));
    }
    void saveMedia(const QString& id) override { asked.append(u"save "_qs + id); }
    void openSheet(const QString& name) override { asked.append(u"sheet "_qs + name); }
    void attach(const QList<QUrl>& files) override {
        for (const QUrl& file : files)
            asked.append(u"attach "_qs + file.toString());
    }
    void takeFocusToComposer() override { asked.append(u"focus"_qs); }
    QCoro::Task<FetchReply> passthrough(QString path, QString method, QString body,
                                        std::stop_token stop) override {
        asked.append(u"fetch %1 %2 %3"_qs.arg(method, path, body));
        replies.emplace_back();
        lastStop = stop;
        return replyOf(replies.back().completion(), std::move(stop));
    }
    /// Answers the page's request number \a index.
    void reply(std::size_t index, const QString& body) {
        FetchReply reply;
        reply.status = 200;
        reply.contentType = u"text/plain"_qs;
        reply.body = body;
        replies[index].succeed(reply);
    }

    TranscriptBridge* bridge = nullptr;
    const Chat* chat = nullptr;
    bool busy = false;
    QStringList asked;
    std::vector<CompletionSource<FetchReply>> replies;
    std::stop_token lastStop; ///< of the last of them
};

/// A bridge with a page.
struct Scene {
    RecordingActions actions;
    TranscriptBridge bridge{actions};
    RecordingPage page;

    explicit Scene(bool isReady = true) {
        actions.bridge = &bridge;
        bridge.setPage(&page);
        if (isReady)
            becomeReady();
    }
    void becomeReady() {
        page.sendReady();
        page.takeCalls();
    }
    QStringList shown(const Chat* chat, bool busy = false) {
        bridge.show(chat, busy);
        return page.takeCalls();
    }
};

ChatMessage message(const QString& id, const QString& content) {
    ChatMessage made;
    made.id = id;
    made.content = content;
    return made;
}

Chat chatOf(const QString& id, const QStringList& messages) {
    Chat chat;
    chat.id = id;
    for (const QString& each : messages)
        chat.messages.append(message(each, u"text "_qs + each));
    return chat;
}

QString json(const QString& id, const QString& content) {
    return QStringLiteral(R"({"id":"%1","role":"user","content":"%2"})").arg(id, content);
}

QString upsert(const QString& id, const QString& content) {
    return u"upsert("_qs + json(id, content) + QLatin1Char(')');
}

QString setChat(const QString& chat, const QStringList& messages) {
    QStringList objects;
    for (const QString& each : messages)
        objects.append(json(each, u"text "_qs + each));
    return QStringLiteral(R"(setChat({"id":"%1","messages":[%2]}))")
        .arg(chat, objects.join(QLatin1Char(',')));
}

/// A request of the page to the service.
QJsonObject fetch() {
    return QJsonDocument::fromJson(R"({"type":"fetch","id":7,"path":"/p","method":"GET","body":""})")
        .object();
}

const QString light = u"setTheme(\"light\")"_qs;
const QString dark = u"setTheme(\"dark\")"_qs;
const QString idle = u"setBusy(false)"_qs;
const QString busyCall = u"setBusy(true)"_qs;
const QString a = u"a"_qs;
const QString b = u"b"_qs;
const QString c = u"c"_qs;
const QString one = u"one"_qs;

} // namespace

/// What the page is told: no more than what changed, and everything when it starts anew.
class TestTranscriptBridge final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingBeforeReady() {
        Scene scene(false);
        const Chat chat = chatOf(one, {a});
        scene.bridge.show(&chat, true);
        scene.bridge.setTheme(PageTheme::Dark);
        scene.bridge.setBusy(true);
        scene.bridge.showMessage(one, chat.messages.first());
        scene.bridge.scrollToBottom();
        QCOMPARE(scene.page.takeCalls(), QStringList());
    }

    void readyPushesEverythingOnce() {
        Scene scene(false);
        const Chat chat = chatOf(one, {a, b});
        scene.actions.chat = &chat;
        scene.actions.busy = true;
        scene.bridge.setTheme(PageTheme::Dark);
        const QStringList everything{dark, setChat(one, {a, b}), busyCall};
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(), everything);
        scene.page.sendReady(); // the page was loaded again
        QCOMPARE(scene.page.takeCalls(), everything);
        QCOMPARE(scene.shown(&chat, true), QStringList());
    }

    void onlyChangesArePushed_data() {
        const auto row = columns<Chat, QStringList>("next", "calls");
        const auto changed = [](Chat chat, qsizetype index) {
            chat.messages[index].content = u"new"_qs;
            return chat;
        };
        const Chat shown = chatOf(one, {a, b});
        row("nothing", shown, QStringList());
        Chat titled = shown;
        titled.title = u"t"_qs;
        row("title only", titled, QStringList());
        row("one appended", chatOf(one, {a, b, c}), QStringList{upsert(c, u"text c"_qs)});
        row("last changed", changed(shown, 1), QStringList{upsert(b, u"new"_qs)});
        row("first changed and one appended", changed(chatOf(one, {a, b, c}), 0),
            QStringList{upsert(a, u"new"_qs), upsert(c, u"text c"_qs)});
        row("last deleted", chatOf(one, {a}), QStringList{setChat(one, {a})});
        row("first deleted", chatOf(one, {b}), QStringList{setChat(one, {b})});
        row("all deleted", chatOf(one, {}), QStringList{setChat(one, {})});
        row("last replaced", chatOf(one, {a, c}), QStringList{setChat(one, {a, c})});
        row("order changed", chatOf(one, {b, a}), QStringList{setChat(one, {b, a})});
        row("another chat with the same messages", chatOf(u"two"_qs, {a, b}),
            QStringList{setChat(u"two"_qs, {a, b})});
    }

    void onlyChangesArePushed() {
        QFETCH(const Chat, next);
        Scene scene;
        const Chat chat = chatOf(one, {a, b});
        QCOMPARE(scene.shown(&chat), QStringList{setChat(one, {a, b})});
        QTEST(scene.shown(&next), "calls");
        QCOMPARE(scene.shown(&next), QStringList()); // it is what is shown now
    }

    void closingTheChat() {
        Scene scene;
        QCOMPARE(scene.shown(nullptr), QStringList()); // none was open
        const Chat chat = chatOf(one, {a});
        scene.shown(&chat);
        QCOMPARE(scene.shown(nullptr), QStringList{u"setChat(null)"_qs});
        QCOMPARE(scene.shown(nullptr), QStringList());
        QCOMPARE(scene.shown(&chat), QStringList{setChat(one, {a})});
    }

    void oneMessageAlone() {
        Scene scene;
        Chat chat = chatOf(one, {a, b});
        scene.shown(&chat);
        chat.messages[0].content = u"new"_qs;
        scene.bridge.showMessage(one, chat.messages[0]);
        QCOMPARE(scene.page.takeCalls(), QStringList{upsert(a, u"new"_qs)});
        scene.bridge.showMessage(one, chat.messages[0]);
        scene.bridge.showMessage(u"two"_qs, message(a, u"other chat"_qs));
        scene.bridge.showMessage(one, message(c, u"not shown"_qs));
        QCOMPARE(scene.page.takeCalls(), QStringList());
        QCOMPARE(scene.shown(&chat), QStringList()); // both ways know what is shown
    }

    void busyAndThemeAreToldOnce() {
        Scene scene(false);
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(), (QStringList{light, idle}));
        scene.bridge.setTheme(PageTheme::Light);
        scene.bridge.setTheme(PageTheme::Dark);
        scene.bridge.setTheme(PageTheme::Dark);
        QCOMPARE(scene.page.takeCalls(), QStringList{dark});
        QCOMPARE(scene.shown(nullptr, true), QStringList{busyCall});
        QCOMPARE(scene.shown(nullptr, true), QStringList());
        scene.bridge.setBusy(true);
        scene.bridge.setBusy(false);
        QCOMPARE(scene.page.takeCalls(), QStringList{idle});
        QCOMPARE(scene.shown(nullptr, false), QStringList());
    }

    void endedProcessIsReloadedAndToldEverything() {
        Scene scene(false);
        const Chat chat = chatOf(one, {a});
        scene.actions.chat = &chat;
        scene.becomeReady();
        scene.page.endProcess();
        QCOMPARE(scene.page.reloads(), 1);
        scene.bridge.setTheme(PageTheme::Dark);
        QCOMPARE(scene.shown(&chat, true), QStringList());
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(), (QStringList{dark, setChat(one, {a}), idle}));
    }

    void pageThatIsGoneOrReplaced() {
        Scene scene;
        const Chat chat = chatOf(one, {a});
        scene.actions.chat = &chat;
        scene.becomeReady();
        auto second = std::make_unique<RecordingPage>();
        scene.bridge.setPage(second.get());
        scene.page.sendReady(); // of the page that was given up
        QCOMPARE(scene.page.takeCalls() + second->takeCalls(), QStringList());
        second->sendReady();
        QCOMPARE(second->takeCalls(), (QStringList{light, setChat(one, {a}), idle}));
        second.reset();
        scene.bridge.show(nullptr, true);
        scene.bridge.scrollToBottom();
    }

    void audioIsToldAgainWithEverySetOfMessages() {
        const auto audio = [](const QString& id, const char* state) {
            return u"setAudio(\"%1\", \"%2\")"_qs.arg(id, QLatin1String(state));
        };
        Scene scene(false);
        Chat chat = chatOf(one, {a, b});
        scene.actions.chat = &chat;
        scene.bridge.setAudio(a, AudioState::Loading); // before there is a page
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(),
                 (QStringList{light, setChat(one, {a, b}), audio(a, "loading"), idle}));
        scene.bridge.setAudio(a, AudioState::Playing);
        scene.bridge.setAudio(a, AudioState::Playing);
        scene.bridge.setAudio(b, AudioState::Idle); // it is
        QCOMPARE(scene.page.takeCalls(), QStringList{audio(a, "playing")});
        chat.messages.append(message(c, u"text c"_qs));
        QCOMPARE(scene.shown(&chat), QStringList{upsert(c, u"text c"_qs)});
        chat.messages.removeLast();
        QCOMPARE(scene.shown(&chat), (QStringList{setChat(one, {a, b}), audio(a, "playing")}));
        scene.page.endProcess();
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(),
                 (QStringList{light, setChat(one, {a, b}), audio(a, "playing"), idle}));
        scene.bridge.setAudio(a, AudioState::Idle);
        QCOMPARE(scene.page.takeCalls(), QStringList{audio(a, "idle")});
        scene.page.sendReady();
        QCOMPARE(scene.page.takeCalls(), (QStringList{light, setChat(one, {a, b}), idle}));
    }

    void largeFilesTravelOnce() {
        Scene scene;
        Attachment photo;
        photo.dataUrl = u"data:image/png;base64,"_qs + QString(40000, u'A');
        Chat chat = chatOf(one, {a});
        chat.messages[0].attachments.append(photo);
        const auto addressIn = [](const QString& call) {
            static const QRegularExpression address(u"teskal-app://file/(inline-[0-9]+)"_qs);
            return address.match(call).captured(1);
        };
        const QString id = addressIn(scene.shown(&chat).value(0));
        QCOMPARE(scene.page.inlineFiles().find(id).value().bytes, QByteArray(30000, '\0'));
        chat.messages[0].content = u"new"_qs;
        const QString changed = scene.shown(&chat).value(0);
        QVERIFY(changed.startsWith(QLatin1String("upsert(")) && changed.size() < 300);
        QCOMPARE(addressIn(changed), id);
        chat.messages.append(message(b, {}));
        scene.shown(&chat);
        chat.messages.removeLast();
        QCOMPARE(addressIn(scene.shown(&chat).value(0)), id); // the same chat anew
        scene.shown(nullptr);
        QVERIFY(!scene.page.inlineFiles().find(id));
        const QString second = addressIn(scene.shown(&chat).value(0));
        QVERIFY(second != id);
        scene.page.endProcess();
        QVERIFY(!scene.page.inlineFiles().find(second));
    }

    void fetchIsAnsweredToThePageThatAsked_data() {
        const auto row = columns<QString, bool>("meanwhile", "answered");
        row("same page", QString(), true);
        row("page loaded again", "reload", false);
        row("process ended", "crash", false);
        row("another page", "replace", false);
        row("no page", "remove", false);
    }

    void fetchIsAnsweredToThePageThatAsked() {
        FETCH(QString, meanwhile, bool, answered);
        for (const bool replyFirst : {false, true}) {
            Scene scene;
            scene.page.send(fetch());
            if (replyFirst)
                scene.actions.reply(0, u"\"hi\""_qs);
            RecordingPage other;
            if (meanwhile == u"reload")
                scene.page.sendReady();
            else if (meanwhile == u"crash")
                scene.page.endProcess();
            else if (meanwhile == u"replace")
                scene.bridge.setPage(&other);
            else if (meanwhile == u"remove")
                scene.bridge.setPage(nullptr);
            other.sendReady();
            scene.page.takeCalls();
            other.takeCalls();
            if (!replyFirst)
                scene.actions.reply(0, u"\"hi\""_qs);
            runQueued();
            const QString result = u"fetchResult(7, 200, \"\\\"hi\\\"\", \"text/plain\")"_qs;
            QCOMPARE(scene.page.takeCalls() + other.takeCalls(),
                     answered ? QStringList{result} : QStringList());
            QVERIFY(answered || replyFirst || scene.actions.lastStop.stop_requested());
        }
    }

    void requestsOfThePage_data() {
        columns<QByteArray, QStringList>("request", "asked");
        const auto row = [](const QByteArray& request, const char* asked = nullptr) {
            const QByteArray name = request.left(80) + ' ' + QByteArray::number(request.size());
            QTest::newRow(name.constData())
                << request << (asked ? QStringList{QString::fromLatin1(asked)} : QStringList());
        };
        const auto long_ = [](qsizetype size) { return '"' + QByteArray(size, 'x') + '"'; };
        row(R"({"type":"send","text":"hi"})", "send hi");
        row(R"({"type":"copy","text":""})", "copy ");
        row(R"({"type":"retry"})", "retry");
        row(R"({"type":"openLink","url":"hi"})", "open hi");
        row(R"({"type":"signIn","more":1})", "signIn");
        row(R"({"type":"speak","id":"m","text":"hi"})", "speak m hi");
        row(R"({"type":"saveMedia","id":"m"})", "save m");
        row(R"({"type":"openSheet","sheet":"keys"})", "sheet keys");
        row(R"({"type":"fetch","id":1,"path":"/p","method":"POST","body":"b"})", "fetch POST /p b");
        row(R"({"type":"fetch","id":1.0,"path":"/p","method":"GET","body":""})", "fetch GET /p ");
        const QByteArray malformed =
            R"({} | {"text":"hi"} | {"type":1,"text":"hi"} | {"type":"format"} | {"type":"drawn"} |
            {"type":"send"} | {"type":"send","text":1} | {"type":"copy","text":null} |
            {"type":"openLink","text":"hi"} | {"type":"speak","text":"hi"} | {"type":"speak","id":"m"} |
            {"type":"speak","id":"","text":"hi"} | {"type":"saveMedia","id":["m"]} |
            {"type":"openSheet"} | {"type":"openSheet","sheet":{}} |
            {"type":"fetch","id":"1","path":"/p","method":"GET","body":""} |
            {"type":"fetch","id":1.5,"path":"/p","method":"GET","body":""} |
            {"type":"fetch","id":1e300,"path":"/p","method":"GET","body":""} |
            {"type":"fetch","path":"/p","method":"GET","body":""} |
            {"type":"fetch","id":1,"method":"GET","body":""} |
            {"type":"fetch","id":1,"path":"/p","body":""} |
            {"type":"fetch","id":1,"path":"/p","method":"GET"} |
            {"type":"fetch","id":1,"path":"/p","method":"GET","body":null})";
        for (const QByteArray& request : malformed.split('|'))
            row(request.trimmed());
        row(R"({"type":"saveMedia","id":)" + long_(64) + '}', ("save " + QByteArray(64, 'x')).constData());
        row(R"({"type":"saveMedia","id":)" + long_(65) + '}');
        row(R"({"type":"openLink","url":)" + long_(10000) + '}');
        row(R"({"type":"fetch","id":1,"method":"GET","body":"","path":)" + long_(10000) + '}');
        row(R"({"type":"copy","text":)" + long_(2000000) + '}',
            ("copy " + QByteArray(2000000, 'x')).constData());
    }

    void requestsOfThePage() {
        QFETCH(const QByteArray, request);
        Scene scene;
        scene.page.send(QJsonDocument::fromJson(request).object());
        QTEST(scene.actions.asked, "asked");
        QCOMPARE(scene.page.takeCalls(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestTranscriptBridge)
#include "TestTranscriptBridge.moc"
