#include "RecordingPage.h"
#include "TranscriptActions.h"
#include "TranscriptBridge.h"

#include <QJsonObject>
#include <QTest>

#include <memory>

using namespace teskal;
using namespace teskal::test;

namespace {

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

    TranscriptBridge* bridge = nullptr;
    const Chat* chat = nullptr;
    bool busy = false;
    QStringList asked;
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

void TestTranscriptBridge::requestsOfThePage_data() {
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<QStringList>("asked");
    const auto object = [](std::initializer_list<std::pair<const char*, QJsonValue>> members) {
        QJsonObject made;
        for (const auto& [key, value] : members)
            made.insert(QLatin1String(key), value);
        return made;
    };
    const QJsonValue hi(QStringLiteral("hi"));
    const auto type = [](const char* name) { return QJsonValue(QLatin1String(name)); };
    QTest::newRow("send") << object({{"type", type("send")}, {"text", hi}})
                          << QStringList{QStringLiteral("send hi")};
    QTest::newRow("copy") << object({{"type", type("copy")}, {"text", hi}})
                          << QStringList{QStringLiteral("copy hi")};
    QTest::newRow("retry") << object({{"type", type("retry")}}) << QStringList{QStringLiteral("retry")};
    QTest::newRow("link") << object({{"type", type("openLink")}, {"url", hi}})
                          << QStringList{QStringLiteral("open hi")};
    QTest::newRow("sign in") << object({{"type", type("signIn")}}) << QStringList{QStringLiteral("signIn")};
    QTest::newRow("empty") << QJsonObject() << QStringList();
    QTest::newRow("no type") << object({{"text", hi}}) << QStringList();
    QTest::newRow("mistyped type") << object({{"type", QJsonValue(1)}, {"text", hi}}) << QStringList();
    QTest::newRow("unknown type") << object({{"type", type("format")}}) << QStringList();
    QTest::newRow("send without text") << object({{"type", type("send")}}) << QStringList();
    QTest::newRow("send a number") << object({{"type", type("send")}, {"text", QJsonValue(1)}})
                                   << QStringList();
    QTest::newRow("copy null") << object({{"type", type("copy")}, {"text", QJsonValue()}}) << QStringList();
    QTest::newRow("link without address")
        << object({{"type", type("openLink")}, {"text", hi}}) << QStringList();
}

void TestTranscriptBridge::requestsOfThePage() {
    QFETCH(const QJsonObject, request);
    Scene scene;
    scene.becomeReady();
    scene.page.send(request);
    QTEST(scene.actions.asked, "asked");
    QCOMPARE(scene.page.takeCalls(), QStringList());
}

QTEST_GUILESS_MAIN(TestTranscriptBridge)
#include "TestTranscriptBridge.moc"
