#include "Columns.h"
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

using namespace teskal::test;

/// What only the real engine can show about the adapter.
class TestPagePort : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        page_ = std::make_unique<EnginePage>(QSize(500, 400));
        QVERIFY(page_->open());
    }

    void thePageSeesWholeMessages() {
        page_->evaluate(u"window.seen = []; { const upsert = window.teskal.upsert;"
                        "window.teskal.upsert = (m) => { seen.push(m); upsert(m); }; } 1"_qs);
        const QString face = QString::fromUtf8("\xF0\x9F\x98\x80");
        const QString text = QString::fromUtf8("He said \"</script>\\\" \xE2\x80\xA8 `${1}` ") + face +
                             u" and\r\nwent "_qs + face;
        ChatMessage message;
        message.id = u"m"_qs;
        message.role = Role::Assistant;
        message.pending = true;
        page_->port().call("setChat",
                           {R"({"id":"c","messages":[{"id":"m","role":"assistant","content":""}]})"});
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
        const QByteArray named =
            R"({"id":"m","role":"user","content":"","route":{"__proto__":{"a":"\\u005f"}}})";
        message.route = decodeRecord<ChatMessage>(named, Source::LocalFile).route;
        send();
        QVERIFY(page_->waitFor(u"seen.length === %1"_qs.arg(sent.size())));
        QCOMPARE(page_->text(u"JSON.stringify(seen)"_qs).toUtf8(), QByteArray('[' + sent.join(',') + ']'));
        QCOMPARE(page_->holds(u"seen.at(-1) === seen.at(-2)"_qs), false);
    }

    void aFailedCallIsMadeGood() {
        ChatMessage message;
        message.id = u"m"_qs;
        message.role = Role::Assistant;
        message.content = u"secret"_qs;
        LogCapture log;
        page_->evaluate(u"window.upsert = window.teskal.upsert;"
                        "window.teskal.upsert = (m) => { throw new TypeError(m.content); }; 1"_qs);
        page_->port().call("setChat", {R"({"id":"c","messages":[]})"});
        page_->port().upsert(message);
        QVERIFY(waitUntil([&] { return log.lines().size() == 1; }, EnginePage::patience));
        page_->evaluate(u"window.teskal.upsert = upsert; teskalPort.upsert({id: 'other', role: "
                        "'user', content: 'other'}); 1"_qs);
        for (const char* added : {" one", " two"}) {
            message.content += QLatin1String(added);
            page_->port().upsert(message);
            page_->evaluate(u"1"_qs); // what failed is known then
        }
        QVERIFY(page_->waitFor(u"document.body.textContent.includes('secret one two')"_qs));
        QCOMPARE(log.lines(), (QStringList{u"[Teskal] transcript: TypeError in teskalPort.upsert"_qs}));
    }

    void theThemeSwitches() {
        const auto background = [this] {
            return page_->evaluate(u"getComputedStyle(document.documentElement).backgroundColor"_qs);
        };
        page_->port().call("setTheme", {"\"light\""});
        const QVariant light = background();
        page_->port().call("setTheme", {"\"dark\""});
        QVERIFY(light.isValid() && background() != light);
        QCOMPARE(page_->text(u"document.documentElement.dataset.theme"_qs), u"dark"_qs);
    }

    void theFirstLookIsThereBeforeThePage() {
        page_->port().setFirstLook(PageTheme::Dark, QColor(1, 2, 3));
        QWebEngineScript watcher;
        watcher.setInjectionPoint(QWebEngineScript::DocumentCreation);
        watcher.setWorldId(QWebEngineScript::MainWorld);
        watcher.setSourceCode(u"requestAnimationFrame(function look() {"
                              "const root = document.documentElement;"
                              "if (root) window.firstTheme = root.dataset.theme ?? 'none';"
                              "else requestAnimationFrame(look); });"_qs);
        page_->page().scripts().insert(watcher);
        page_->takeMessages();
        page_->port().load();
        QVERIFY(waitForReady());
        QVERIFY(page_->waitFor(u"window.firstTheme"_qs));
        QCOMPARE(page_->text(u"firstTheme"_qs), u"dark"_qs);
        QCOMPARE(page_->page().backgroundColor(), QColor(1, 2, 3));
    }

    void aLostPageIsLoadedAgainTwice() {
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

    void nothingNavigates_data() {
        // asPressed: the engine does not tell these from a pressed link
        const auto row = columns<QString, bool>("script", "asPressed");
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
    void nothingNavigates() {
        FETCH(QString, script, bool, asPressed);
        QSignalSpy links(&page_->port(), &WebPagePort::linkActivated);
        QSignalSpy urls(&page_->page(), &QWebEnginePage::urlChanged);
        page_->evaluate(u"window.here = true; { %1 } 1"_qs.arg(script));
        // A navigation begins before these answers come, and would take what the script has set with it.
        for (int round = 0; round < 5; ++round)
            QVERIFY(page_->holds(u"window.here"_qs));
        QCOMPARE(page_->page().url(), TranscriptPage::address());
        QVERIFY(urls.isEmpty());
        QVERIFY2(links.isEmpty() || asPressed, "only a person opens links");
    }

    void pressedLinks_data() {
        const auto row = columns<QString, QString, Qt::MouseButton, Qt::KeyboardModifiers>(
            "attributes", "opened", "button", "modifiers");
        const char* web = "https://example.com/a%20b?c=d";
        const char* href = "href='https://example.com/a%20b?c=d'";
        row("web", href, web, Qt::LeftButton);
        row("unsafe web", "href='http://example.com/'", "http://example.com/", Qt::LeftButton);
        row("mail", "href='mailto:ada@example.com'", "mailto:ada@example.com", Qt::LeftButton);
        row("new window", "href='https://example.com/a%20b?c=d' target=_blank", web, Qt::LeftButton);
        row("middle button", href, web, Qt::MiddleButton);
        row("Ctrl", href, web, Qt::LeftButton, Qt::ControlModifier);
        row("Shift", href, web, Qt::LeftButton, Qt::ShiftModifier);
        for (const char* dropped :
             {"javascript:void(window.hit=1)", "data:text/html,x", "file:///etc/passwd",
              "teskal-app://file/abcd", "vbscript:x", "app.teskal.mac:/callback", "ftp://example.com/"}) {
            for (const char* target : {"", " target=_blank"}) {
                const QString attributes =
                    u"href='%1'%2"_qs.arg(QLatin1String(dropped), QLatin1String(target));
                row(qPrintable(attributes), attributes, "", Qt::LeftButton);
            }
        }
    }
    void pressedLinks() {
        FETCH(QString, attributes, Qt::MouseButton, button, Qt::KeyboardModifiers, modifiers, QString,
              opened);
        QStringList links;
        const QObject untilTheEnd;
        connect(&page_->port(), &WebPagePort::linkActivated, &untilTheEnd,
                [&](const QString& url) { links.append(url); });
        // Outside of what the page's own script watches over.
        page_->evaluate(u"const box = document.createElement('div'); window.pressed = 0;"
                        "box.innerHTML = `<a %1 style='position: fixed; inset: 0'>link</a>`;"
                        "box.firstChild.style.cssText = 'position: fixed; inset: 0; z-index: 9';"
                        "for (const type of ['click', 'auxclick'])"
                        "box.addEventListener(type, () => { ++pressed; });"
                        "document.body.append(box); 1"_qs.arg(attributes));
        QVERIFY(page_->waitFor(u"document.elementFromPoint(100, 100)?.localName === 'a'"_qs));
        QTest::mouseClick(&page_->input(), button, modifiers, QPoint(100, 100));
        QVERIFY(page_->waitFor(u"pressed === 1"_qs));
        for (int round = 0; round < 5; ++round)
            QVERIFY(page_->evaluate(u"pressed"_qs).toInt() == 1);
        QVERIFY(waitUntil([&] { return links.size() == (opened.isEmpty() ? 0 : 1); }));
        QCOMPARE(links.value(0), opened);
        QCOMPARE(page_->page().url(), TranscriptPage::address());
        QVERIFY(!page_->evaluate(u"window.hit"_qs).isValid());
    }

private:
    bool waitForReady() {
        return waitUntil(
            [this] {
                return page_->messages().contains(QJsonObject{{u"type"_qs, u"ready"_qs}});
            },
            EnginePage::patience);
    }
    void killRenderer() {
        QSignalSpy ended(&page_->port(), &PagePort::processEnded);
        page_->takeMessages();
        QVERIFY(page_->page().renderProcessPid() > 0);
        QCOMPARE(kill(pid_t(page_->page().renderProcessPid()), SIGKILL), 0);
        QVERIFY(waitUntil([&] { return ended.count() == 1; }, EnginePage::patience));
    }

    std::unique_ptr<EnginePage> page_;
};

QTEST_MAIN(TestPagePort)
#include "TestPagePort.moc"
