#include "EnginePage.h"
#include "InlineFiles.h"
#include "JsonWriter.h"
#include "LogCapture.h"
#include "MessageDisplay.h"
#include "RecordCodec.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

#include <csignal>

using namespace teskal;
using namespace teskal::test;

/// What only the real engine can show about the adapter.
class TestPagePort : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void thePageSeesWholeMessages();
    void aFailedCallIsMadeGood();
    void theThemeSwitches();
    void theFirstLookIsThereBeforeThePage();
    void aLostPageIsLoadedAgainTwice();
    void nothingNavigates_data();
    void nothingNavigates();
    void pressedLinks_data();
    void pressedLinks();

private:
    bool waitForReady() {
        return waitUntil(
            [this] {
                return page_->messages().contains(
                    QJsonObject{{QStringLiteral("type"), QStringLiteral("ready")}});
            },
            EnginePage::patience);
    }
    void killRenderer();

    std::unique_ptr<EnginePage> page_;
};

void TestPagePort::init() {
    page_ = std::make_unique<EnginePage>(QSize(500, 400));
    QVERIFY(page_->open());
}

void TestPagePort::thePageSeesWholeMessages() {
    page_->evaluate(QStringLiteral("window.seen = []; { const upsert = window.teskal.upsert;"
                                   "window.teskal.upsert = (m) => { seen.push(m); upsert(m); }; } 1"));
    const QString face = QString::fromUtf8("\xF0\x9F\x98\x80");
    const QString text = QString::fromUtf8("He said \"</script>\\\" \xE2\x80\xA8 `${1}` ") + face +
                         QStringLiteral(" and\r\nwent ") + face;
    ChatMessage message;
    message.id = QStringLiteral("m");
    message.role = Role::Assistant;
    message.pending = true;
    page_->port().call("setChat", {R"({"id":"c","messages":[{"id":"m","role":"assistant","content":""}]})"});
    QList<QByteArray> sent;
    InlineFiles files;
    const auto send = [&] {
        page_->port().upsert(message);
        sent.append(displayJson(message, files));
    };
    for (qsizetype length = 0; length <= text.size(); ++length) {
        message.content = text.first(length);
        send();
        if (length == text.size() / 2)
            page_->port().call("setChat", {R"({"id":"d","messages":[]})"});
    }
    message.pending = false;
    send();
    const QByteArray named = R"({"id":"m","role":"user","content":"","route":{"__proto__":{"a":"\\u005f"}}})";
    message.route = decodeRecord<ChatMessage>(named, Source::LocalFile).route;
    send();
    QVERIFY(page_->waitFor(QStringLiteral("seen.length === %1").arg(sent.size())));
    QCOMPARE(page_->evaluate(QStringLiteral("JSON.stringify(seen)")).toString().toUtf8(),
             QByteArray('[' + sent.join(',') + ']'));
    QCOMPARE(page_->evaluate(QStringLiteral("seen.at(-1) === seen.at(-2)")).toBool(), false);
}

void TestPagePort::aFailedCallIsMadeGood() {
    ChatMessage message;
    message.id = QStringLiteral("m");
    message.role = Role::Assistant;
    message.content = QStringLiteral("secret");
    LogCapture log;
    page_->evaluate(QStringLiteral("window.upsert = window.teskal.upsert;"
                                   "window.teskal.upsert = (m) => { throw new TypeError(m.content); }; 1"));
    page_->port().call("setChat", {R"({"id":"c","messages":[]})"});
    page_->port().upsert(message);
    QVERIFY(waitUntil([&] { return log.lines().size() == 1; }, EnginePage::patience));
    page_->evaluate(QStringLiteral("window.teskal.upsert = upsert; teskalPort.upsert({id: 'other', role: "
                                   "'user', content: 'other'}); 1"));
    for (const char* added : {" one", " two"}) {
        message.content += QLatin1String(added);
        page_->port().upsert(message);
        page_->evaluate(QStringLiteral("1")); // what failed is known then
    }
    QVERIFY(page_->waitFor(QStringLiteral("document.body.textContent.includes('secret one two')")));
    QCOMPARE(log.lines(),
             (QStringList{QStringLiteral("[Teskal] transcript: TypeError in teskalPort.upsert")}));
}

void TestPagePort::theThemeSwitches() {
    const auto background = [this] {
        return page_->evaluate(QStringLiteral("getComputedStyle(document.documentElement).backgroundColor"));
    };
    page_->port().call("setTheme", {"\"light\""});
    const QVariant light = background();
    page_->port().call("setTheme", {"\"dark\""});
    QVERIFY(light.isValid() && background() != light);
    QCOMPARE(page_->evaluate(QStringLiteral("document.documentElement.dataset.theme")).toString(),
             QStringLiteral("dark"));
}

void TestPagePort::theFirstLookIsThereBeforeThePage() {
    page_->port().setFirstLook(PageTheme::Dark, QColor(1, 2, 3));
    QWebEngineScript watcher;
    watcher.setInjectionPoint(QWebEngineScript::DocumentCreation);
    watcher.setWorldId(QWebEngineScript::MainWorld);
    watcher.setSourceCode(QStringLiteral("requestAnimationFrame(function look() {"
                                         "const root = document.documentElement;"
                                         "if (root) window.firstTheme = root.dataset.theme ?? 'none';"
                                         "else requestAnimationFrame(look); });"));
    page_->page().scripts().insert(watcher);
    page_->takeMessages();
    page_->port().load();
    QVERIFY(waitForReady());
    QVERIFY(page_->waitFor(QStringLiteral("window.firstTheme")));
    QCOMPARE(page_->evaluate(QStringLiteral("firstTheme")).toString(), QStringLiteral("dark"));
    QCOMPARE(page_->page().backgroundColor(), QColor(1, 2, 3));
}

void TestPagePort::killRenderer() {
    QSignalSpy ended(&page_->port(), &PagePort::processEnded);
    page_->takeMessages();
    QVERIFY(page_->page().renderProcessPid() > 0);
    QCOMPARE(kill(pid_t(page_->page().renderProcessPid()), SIGKILL), 0);
    QVERIFY(waitUntil([&] { return ended.count() == 1; }, EnginePage::patience));
}

void TestPagePort::aLostPageIsLoadedAgainTwice() {
    WebPagePort& port = page_->port();
    connect(&port, &PagePort::processEnded, &port, &PagePort::reload); // as the bridge does
    QSignalSpy gaveUp(&port, &WebPagePort::gaveUp);
    for (const bool afterReload : {false, true}) {
        for (int time = 0; time < 2; ++time) {
            killRenderer();
            QVERIFY(waitForReady());
        }
        QVERIFY(gaveUp.isEmpty());
        killRenderer();
        QVERIFY(waitUntil([&] { return gaveUp.count() == 1; }, EnginePage::patience));
        QVERIFY(page_->messages().isEmpty());
        gaveUp.clear();
        port.load(); // what the Reload button does; counting begins anew
        QVERIFY(waitForReady());
        QVERIFY2(gaveUp.isEmpty(), afterReload ? "the second time" : "the first time");
    }
}

void TestPagePort::nothingNavigates_data() {
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("asPressed");
    // The engine does not tell the first kind from a pressed link.
    const auto row = [](const char* name, const char* script, bool asPressed = false) {
        QTest::newRow(name) << QString::fromLatin1(script) << asPressed;
    };
    row("location", "location.href = 'https://example.com/'", true);
    row("another page of the scheme", "location.href = 'teskal-app://renderer/main.js'");
    row("a stored file", "location.href = 'teskal-app://file/abcd'");
    row("data", "location.href = 'data:text/html,x'");
    row("file", "location.href = 'file:///etc/passwd'");
    row("window", "window.open('https://example.com/')");
    row("form", "const form = document.createElement('form'); form.action = 'https://example.com/';"
                "document.body.append(form); form.submit()");
    row("refresh", "const meta = document.createElement('meta'); meta.httpEquiv = 'refresh';"
                   "meta.content = '0;url=https://example.com/'; document.head.append(meta)");
    row("frame", "const frame = document.createElement('iframe'); frame.src = 'https://example.com/';"
                 "document.body.append(frame)");
    row("link without a hand",
        "const link = document.createElement('a'); link.href = 'teskal-app://renderer/x';"
        "document.body.append(link); link.click()");
}

void TestPagePort::nothingNavigates() {
    QFETCH(const QString, script);
    QFETCH(const bool, asPressed);
    QSignalSpy links(&page_->port(), &WebPagePort::linkActivated);
    QSignalSpy urls(&page_->page(), &QWebEnginePage::urlChanged);
    page_->evaluate(QStringLiteral("window.here = true; { %1 } 1").arg(script));
    // A navigation begins before these answers come, and would take what the script has set with it.
    for (int round = 0; round < 5; ++round)
        QVERIFY(page_->evaluate(QStringLiteral("window.here")).toBool());
    QCOMPARE(page_->page().url(), TranscriptPage::address());
    QVERIFY(urls.isEmpty());
    QVERIFY2(links.isEmpty() || asPressed, "only a person opens links");
}

void TestPagePort::pressedLinks_data() {
    QTest::addColumn<QString>("attributes");
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<QString>("opened");
    const auto row = [](const char* name, const char* attributes, const char* opened,
                        Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {}) {
        QTest::newRow(name) << QString::fromLatin1(attributes) << button << modifiers
                            << QString::fromLatin1(opened);
    };
    const char* web = "https://example.com/a%20b?c=d";
    row("web", "href='https://example.com/a%20b?c=d'", web);
    row("unsafe web", "href='http://example.com/'", "http://example.com/");
    row("mail", "href='mailto:ada@example.com'", "mailto:ada@example.com");
    row("new window", "href='https://example.com/a%20b?c=d' target=_blank", web);
    row("middle button", "href='https://example.com/a%20b?c=d'", web, Qt::MiddleButton);
    row("Ctrl", "href='https://example.com/a%20b?c=d'", web, Qt::LeftButton, Qt::ControlModifier);
    row("Shift", "href='https://example.com/a%20b?c=d'", web, Qt::LeftButton, Qt::ShiftModifier);
    for (const char* dropped :
         {"javascript:void(window.hit=1)", "data:text/html,x", "file:///etc/passwd", "teskal-app://file/abcd",
          "vbscript:x", "app.teskal.mac:/callback", "ftp://example.com/"}) {
        row(dropped, qPrintable(QStringLiteral("href='%1'").arg(QLatin1String(dropped))), "");
        row(qPrintable(QLatin1String(dropped) + QStringLiteral(", new window")),
            qPrintable(QStringLiteral("href='%1' target=_blank").arg(QLatin1String(dropped))), "");
    }
}

void TestPagePort::pressedLinks() {
    QFETCH(const QString, attributes);
    QFETCH(const Qt::MouseButton, button);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    QFETCH(const QString, opened);
    QStringList links;
    const QObject untilTheEnd;
    connect(&page_->port(), &WebPagePort::linkActivated, &untilTheEnd,
            [&](const QString& url) { links.append(url); });
    // Outside of what the page's own script watches over.
    page_->evaluate(QStringLiteral("const box = document.createElement('div'); window.pressed = 0;"
                                   "box.innerHTML = `<a %1 style='position: fixed; inset: 0'>link</a>`;"
                                   "box.firstChild.style.cssText = 'position: fixed; inset: 0; z-index: 9';"
                                   "for (const type of ['click', 'auxclick'])"
                                   "box.addEventListener(type, () => { ++pressed; });"
                                   "document.body.append(box); 1")
                        .arg(attributes));
    QVERIFY(page_->waitFor(QStringLiteral("document.elementFromPoint(100, 100)?.localName === 'a'")));
    QTest::mouseClick(&page_->input(), button, modifiers, QPoint(100, 100));
    QVERIFY(page_->waitFor(QStringLiteral("pressed === 1")));
    for (int round = 0; round < 5; ++round)
        QVERIFY(page_->evaluate(QStringLiteral("pressed")).toInt() == 1);
    QVERIFY(waitUntil([&] { return links.size() == (opened.isEmpty() ? 0 : 1); }));
    QCOMPARE(links.value(0), opened);
    QCOMPARE(page_->page().url(), TranscriptPage::address());
    QVERIFY(!page_->evaluate(QStringLiteral("window.hit")).isValid());
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestPagePort test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestPagePort.moc"
