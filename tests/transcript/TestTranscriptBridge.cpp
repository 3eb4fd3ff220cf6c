#include "Completion.h"
#include "InlineFiles.h"
#include "RecordingPage.h"
#include "TranscriptActions.h"
#include "TranscriptBridge.h"
#include "WaitUntil.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace teskal;
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
    void send(const QString& text) override { asked.append(QStringLiteral("send ") + text); }
    void retry() override { asked.append(QStringLiteral("retry")); }
    void copyText(const QString& text) override { asked.append(QStringLiteral("copy ") + text); }
    void openLink(const QString& url) override { asked.append(QStringLiteral("open ") + url); }
    void signIn() override { asked.append(QStringLiteral("signIn")); }
    void speak(const QString& id, const QString& text) override {
        asked.append(QStringLiteral("speak %1 %2").arg(id, text));
    }
    void saveMedia(const QString& id) override { asked.append(QStringLiteral("save ") + id); }
    void openSheet(const QString& name) override { asked.append(QStringLiteral("sheet ") + name); }
    void attach(const QList<QUrl>& files) override {
        for (const QUrl& file : files)
            asked.append(QStringLiteral("attach ") + file.toString());
    }
    void takeFocusToComposer() override { asked.append(QStringLiteral("focus")); }
    QCoro::Task<FetchReply> passthrough(QString path, QString method, QString body,
                                        std::stop_token stop) override {
        asked.append(QStringLiteral("fetch %1 %2 %3").arg(method, path, body));
        replies.emplace_back();
        return replyOf(replies.back().completion(), std::move(stop));
    }
    /// Answers the page's request number \a index.
    void reply(std::size_t index, const QString& body) {
        FetchReply reply;
        reply.status = 200;
        reply.contentType = QStringLiteral("text/plain");
        reply.body = body;
        replies[index].succeed(reply);
    }

    TranscriptBridge* bridge = nullptr;
    const Chat* chat = nullptr;
    bool busy = false;
    QStringList asked;
    std::vector<CompletionSource<FetchReply>> replies;
};

/// A bridge with a page that is ready.
struct Scene {
    RecordingActions actions;
    TranscriptBridge bridge{actions};
    RecordingPage page;

    Scene() {
        actions.bridge = &bridge;
        bridge.setPage(&page);
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
        chat.messages.append(message(each, QStringLiteral("text ") + each));
    return chat;
}

QString json(const QString& id, const QString& content) {
    return QStringLiteral(R"({"id":"%1","role":"user","content":"%2"})").arg(id, content);
}

QString upsert(const QString& id, const QString& content) {
    return QStringLiteral("upsert(") + json(id, content) + QLatin1Char(')');
}

QString setChat(const QString& chat, const QStringList& messages) {
    QStringList objects;
    for (const QString& each : messages)
        objects.append(json(each, QStringLiteral("text ") + each));
    return QStringLiteral(R"(setChat({"id":"%1","messages":[%2]}))")
        .arg(chat, objects.join(QLatin1Char(',')));
}

/// A request of the page to the service.
QJsonObject fetch() {
    return QJsonDocument::fromJson(R"({"type":"fetch","id":7,"path":"/p","method":"GET","body":""})")
        .object();
}

const QString light = QStringLiteral("setTheme(\"light\")");
const QString dark = QStringLiteral("setTheme(\"dark\")");
const QString idle = QStringLiteral("setBusy(false)");
const QString busyCall = QStringLiteral("setBusy(true)");
const QString a = QStringLiteral("a");
const QString b = QStringLiteral("b");
const QString c = QStringLiteral("c");
const QString one = QStringLiteral("one");

} // namespace

/// What the page is told: no more than what changed, and everything when it starts anew.
class TestTranscriptBridge final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingBeforeReady();
    void readyPushesEverythingOnce();
    void onlyChangesArePushed_data();
    void onlyChangesArePushed();
    void closingTheChat();
    void oneMessageAlone();
    void busyOnce();
    void themeOnce();
    void endedProcessIsReloadedAndToldEverything();
    void pageThatIsGoneOrReplaced();
    void audioIsToldAgainWithEverySetOfMessages();
    void largeFilesTravelOnce();
    void droppedFiles();
    void fetchIsAnsweredToThePageThatAsked_data();
    void fetchIsAnsweredToThePageThatAsked();
    void fetchOutlivedByItsBridge();
    void requestsOfThePage_data();
    void requestsOfThePage();
};

void TestTranscriptBridge::nothingBeforeReady() {
    Scene scene;
    const Chat chat = chatOf(one, {a});
    scene.bridge.show(&chat, true);
    scene.bridge.setTheme(PageTheme::Dark);
    scene.bridge.setBusy(true);
    scene.bridge.showMessage(one, chat.messages.first());
    scene.bridge.scrollToBottom();
    QCOMPARE(scene.page.takeCalls(), QStringList());
}

void TestTranscriptBridge::readyPushesEverythingOnce() {
    Scene scene;
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

void TestTranscriptBridge::onlyChangesArePushed_data() {
    QTest::addColumn<Chat>("next");
    QTest::addColumn<QStringList>("calls");
    const auto changed = [](Chat chat, qsizetype index) {
        chat.messages[index].content = QStringLiteral("new");
        return chat;
    };
    const Chat shown = chatOf(one, {a, b});
    QTest::newRow("nothing") << shown << QStringList();
    QTest::newRow("title only") << [&] {
        Chat chat = shown;
        chat.title = QStringLiteral("t");
        return chat;
    }() << QStringList();
    QTest::newRow("one appended") << chatOf(one, {a, b, c})
                                  << QStringList{upsert(c, QStringLiteral("text c"))};
    QTest::newRow("last changed") << changed(shown, 1) << QStringList{upsert(b, QStringLiteral("new"))};
    QTest::newRow("first changed and one appended")
        << changed(chatOf(one, {a, b, c}), 0)
        << QStringList{upsert(a, QStringLiteral("new")), upsert(c, QStringLiteral("text c"))};
    QTest::newRow("last deleted") << chatOf(one, {a}) << QStringList{setChat(one, {a})};
    QTest::newRow("first deleted") << chatOf(one, {b}) << QStringList{setChat(one, {b})};
    QTest::newRow("all deleted") << chatOf(one, {}) << QStringList{setChat(one, {})};
    QTest::newRow("last replaced") << chatOf(one, {a, c}) << QStringList{setChat(one, {a, c})};
    QTest::newRow("order changed") << chatOf(one, {b, a}) << QStringList{setChat(one, {b, a})};
    QTest::newRow("another chat with the same messages")
        << chatOf(QStringLiteral("two"), {a, b}) << QStringList{setChat(QStringLiteral("two"), {a, b})};
}

void TestTranscriptBridge::onlyChangesArePushed() {
    QFETCH(const Chat, next);
    Scene scene;
    scene.becomeReady();
    const Chat chat = chatOf(one, {a, b});
    QCOMPARE(scene.shown(&chat), QStringList{setChat(one, {a, b})});
    QTEST(scene.shown(&next), "calls");
    QCOMPARE(scene.shown(&next), QStringList()); // it is what is shown now
}

void TestTranscriptBridge::closingTheChat() {
    Scene scene;
    scene.becomeReady();
    QCOMPARE(scene.shown(nullptr), QStringList()); // none was open
    const Chat chat = chatOf(one, {a});
    scene.shown(&chat);
    QCOMPARE(scene.shown(nullptr), QStringList{QStringLiteral("setChat(null)")});
    QCOMPARE(scene.shown(nullptr), QStringList());
    QCOMPARE(scene.shown(&chat), QStringList{setChat(one, {a})});
}

void TestTranscriptBridge::oneMessageAlone() {
    Scene scene;
    scene.becomeReady();
    Chat chat = chatOf(one, {a, b});
    scene.shown(&chat);
    chat.messages[0].content = QStringLiteral("new");
    scene.bridge.showMessage(one, chat.messages[0]);
    QCOMPARE(scene.page.takeCalls(), QStringList{upsert(a, QStringLiteral("new"))});
    scene.bridge.showMessage(one, chat.messages[0]);
    scene.bridge.showMessage(QStringLiteral("two"), message(a, QStringLiteral("other chat")));
    scene.bridge.showMessage(one, message(c, QStringLiteral("not shown")));
    QCOMPARE(scene.page.takeCalls(), QStringList());
    QCOMPARE(scene.shown(&chat), QStringList()); // both ways know what is shown
}

void TestTranscriptBridge::busyOnce() {
    Scene scene;
    scene.becomeReady();
    QCOMPARE(scene.shown(nullptr, true), QStringList{busyCall});
    QCOMPARE(scene.shown(nullptr, true), QStringList());
    scene.bridge.setBusy(true);
    scene.bridge.setBusy(false);
    QCOMPARE(scene.page.takeCalls(), QStringList{idle});
    QCOMPARE(scene.shown(nullptr, false), QStringList());
}

void TestTranscriptBridge::themeOnce() {
    Scene scene;
    scene.page.sendReady();
    QCOMPARE(scene.page.takeCalls(), (QStringList{light, idle}));
    scene.bridge.setTheme(PageTheme::Light);
    scene.bridge.setTheme(PageTheme::Dark);
    scene.bridge.setTheme(PageTheme::Dark);
    QCOMPARE(scene.page.takeCalls(), QStringList{dark});
}

void TestTranscriptBridge::endedProcessIsReloadedAndToldEverything() {
    Scene scene;
    const Chat chat = chatOf(one, {a});
    scene.actions.chat = &chat;
    scene.page.sendReady();
    scene.page.takeCalls();
    scene.page.endProcess();
    QCOMPARE(scene.page.reloads(), 1);
    scene.bridge.setTheme(PageTheme::Dark);
    QCOMPARE(scene.shown(&chat, true), QStringList());
    scene.page.sendReady();
    QCOMPARE(scene.page.takeCalls(), (QStringList{dark, setChat(one, {a}), idle}));
}

void TestTranscriptBridge::pageThatIsGoneOrReplaced() {
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

void TestTranscriptBridge::audioIsToldAgainWithEverySetOfMessages() {
    const auto audio = [](const QString& id, const char* state) {
        return QStringLiteral("setAudio(\"%1\", \"%2\")").arg(id, QLatin1String(state));
    };
    Scene scene;
    Chat chat = chatOf(one, {a, b});
    scene.actions.chat = &chat;
    scene.bridge.setAudio(a, AudioState::Loading); // before there is a page
    scene.page.sendReady();
    QCOMPARE(scene.page.takeCalls(), (QStringList{light, setChat(one, {a, b}), audio(a, "loading"), idle}));
    scene.bridge.setAudio(a, AudioState::Playing);
    scene.bridge.setAudio(a, AudioState::Playing);
    scene.bridge.setAudio(b, AudioState::Idle); // it is
    QCOMPARE(scene.page.takeCalls(), QStringList{audio(a, "playing")});
    chat.messages.append(message(c, QStringLiteral("text c")));
    QCOMPARE(scene.shown(&chat), QStringList{upsert(c, QStringLiteral("text c"))});
    chat.messages.removeLast();
    QCOMPARE(scene.shown(&chat), (QStringList{setChat(one, {a, b}), audio(a, "playing")}));
    scene.page.endProcess();
    scene.page.sendReady();
    QCOMPARE(scene.page.takeCalls(), (QStringList{light, setChat(one, {a, b}), audio(a, "playing"), idle}));
    scene.bridge.setAudio(a, AudioState::Idle);
    QCOMPARE(scene.page.takeCalls(), QStringList{audio(a, "idle")});
    scene.page.sendReady();
    QCOMPARE(scene.page.takeCalls(), (QStringList{light, setChat(one, {a, b}), idle}));
}

void TestTranscriptBridge::largeFilesTravelOnce() {
    Scene scene;
    scene.becomeReady();
    Attachment photo;
    photo.dataUrl = QStringLiteral("data:image/png;base64,") + QString(40000, u'A');
    Chat chat = chatOf(one, {a});
    chat.messages[0].attachments.append(photo);
    const auto addressIn = [](const QString& call) {
        static const QRegularExpression address(QStringLiteral("teskal-app://file/(inline-[0-9]+)"));
        return address.match(call).captured(1);
    };
    const QString id = addressIn(scene.shown(&chat).value(0));
    QCOMPARE(scene.page.inlineFiles().find(id).value().bytes, QByteArray(30000, '\0'));
    chat.messages[0].content = QStringLiteral("new");
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

void TestTranscriptBridge::droppedFiles() {
    Scene scene;
    scene.bridge.dropped({QUrl(QStringLiteral("file:///a")), QUrl(QStringLiteral("file:///b"))});
    QCOMPARE(scene.actions.asked, (QStringList{QStringLiteral("attach file:///a"),
                                               QStringLiteral("attach file:///b"), QStringLiteral("focus")}));
}

void TestTranscriptBridge::fetchIsAnsweredToThePageThatAsked_data() {
    QTest::addColumn<QString>("meanwhile");
    QTest::addColumn<bool>("answered");
    QTest::newRow("same page") << QString() << true;
    QTest::newRow("page loaded again") << QStringLiteral("reload") << false;
    QTest::newRow("process ended") << QStringLiteral("crash") << false;
    QTest::newRow("another page") << QStringLiteral("replace") << false;
    QTest::newRow("no page") << QStringLiteral("remove") << false;
}

void TestTranscriptBridge::fetchIsAnsweredToThePageThatAsked() {
    QFETCH(const QString, meanwhile);
    QFETCH(const bool, answered);
    for (const bool replyFirst : {false, true}) {
        Scene scene;
        scene.becomeReady();
        scene.page.send(fetch());
        if (replyFirst)
            scene.actions.reply(0, QStringLiteral("\"hi\""));
        RecordingPage other;
        if (meanwhile == QLatin1String("reload"))
            scene.page.sendReady();
        else if (meanwhile == QLatin1String("crash"))
            scene.page.endProcess();
        else if (meanwhile == QLatin1String("replace"))
            scene.bridge.setPage(&other);
        else if (meanwhile == QLatin1String("remove"))
            scene.bridge.setPage(nullptr);
        other.sendReady();
        scene.page.takeCalls();
        other.takeCalls();
        if (!replyFirst)
            scene.actions.reply(0, QStringLiteral("\"hi\""));
        runQueued();
        const QString result = QStringLiteral(R"(fetchResult(7, 200, "\"hi\"", "text/plain"))");
        QCOMPARE(scene.page.takeCalls() + other.takeCalls(), answered ? QStringList{result} : QStringList());
    }
}

void TestTranscriptBridge::fetchOutlivedByItsBridge() {
    RecordingActions actions;
    RecordingPage page;
    auto bridge = std::make_unique<TranscriptBridge>(actions);
    bridge->setPage(&page);
    page.sendReady();
    page.send(fetch());
    page.takeCalls();
    bridge.reset();
    actions.reply(0, QString());
    runQueued();
    QCOMPARE(page.takeCalls(), QStringList());
}

void TestTranscriptBridge::requestsOfThePage_data() {
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("asked");
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
    for (const char* malformed : {R"({})",
                                  R"({"text":"hi"})",
                                  R"({"type":1,"text":"hi"})",
                                  R"({"type":"format"})",
                                  R"({"type":"drawn"})",
                                  R"({"type":"send"})",
                                  R"({"type":"send","text":1})",
                                  R"({"type":"copy","text":null})",
                                  R"({"type":"openLink","text":"hi"})",
                                  R"({"type":"speak","text":"hi"})",
                                  R"({"type":"speak","id":"m"})",
                                  R"({"type":"speak","id":"","text":"hi"})",
                                  R"({"type":"saveMedia","id":["m"]})",
                                  R"({"type":"openSheet"})",
                                  R"({"type":"openSheet","sheet":{}})",
                                  R"({"type":"fetch","id":"1","path":"/p","method":"GET","body":""})",
                                  R"({"type":"fetch","id":1.5,"path":"/p","method":"GET","body":""})",
                                  R"({"type":"fetch","id":1e300,"path":"/p","method":"GET","body":""})",
                                  R"({"type":"fetch","path":"/p","method":"GET","body":""})",
                                  R"({"type":"fetch","id":1,"method":"GET","body":""})",
                                  R"({"type":"fetch","id":1,"path":"/p","body":""})",
                                  R"({"type":"fetch","id":1,"path":"/p","method":"GET"})",
                                  R"({"type":"fetch","id":1,"path":"/p","method":"GET","body":null})"})
        row(malformed);
    row(R"({"type":"saveMedia","id":)" + long_(64) + '}', ("save " + QByteArray(64, 'x')).constData());
    row(R"({"type":"saveMedia","id":)" + long_(65) + '}');
    row(R"({"type":"openLink","url":)" + long_(10000) + '}');
    row(R"({"type":"fetch","id":1,"method":"GET","body":"","path":)" + long_(10000) + '}');
    row(R"({"type":"copy","text":)" + long_(2000000) + '}', ("copy " + QByteArray(2000000, 'x')).constData());
}

void TestTranscriptBridge::requestsOfThePage() {
    QFETCH(const QByteArray, request);
    Scene scene;
    scene.becomeReady();
    scene.page.send(QJsonDocument::fromJson(request).object());
    QTEST(scene.actions.asked, "asked");
    QCOMPARE(scene.page.takeCalls(), QStringList());
}

QTEST_GUILESS_MAIN(TestTranscriptBridge)
#include "TestTranscriptBridge.moc"
