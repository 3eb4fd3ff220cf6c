#include "AuthBench.h"
#include "CallbackSchemeHandler.h"
#include "Columns.h"
#include "LocalService.h"
#include "ServiceControl.h"
#include "SheetAuthSession.h"
#include "SignInSheet.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QWebEnginePage>
#include <QWebEngineView>

using namespace teskal::test;

namespace {

const QString suffix = u"-test"_qs;

RawReply html(const QByteArray& body) {
    return RawReply::complete(200, "<!doctype html><title>p</title>" + body, "Content-Type: text/html\r\n");
}

RawReply redirect(const QByteArray& location) {
    return RawReply::complete(302, "", "Location: " + location + "\r\n");
}

QWebEnginePage* pageOf(SheetAuthSession& session) {
    return session.sheet()->findChild<QWebEngineView*>()->page();
}

} // namespace

class TestSheetSignIn : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// A real engine, the real provider, its consent page, and a click on "Allow".
    void wholeWay_data() { rows<bool>("automatic", {{"consent page", false}, {"logged in already", true}}); }
    void wholeWay() {
        QFETCH(bool, automatic);
        LocalService service;
        SystemClock clock;
        HttpSession http(clock);
        ServiceControl control(service);
        control.post(u"consent"_qs, QJsonObject{{u"automatic"_qs, automatic}});
        QWidget window;
        window.show();
        SheetAuthSession session(suffix, [&window] { return &window; });
        FakeKeychain keychain;
        const Config config = *Config::forLocalService(service.origin().toString());
        Auth auth(config, http, keychain, session, clock);
        const auto ended = auth.signIn();
        QVERIFY(session.sheet()->isVisible());
        QCOMPARE(session.sheet()->windowModality(), Qt::WindowModal);
        QCOMPARE(session.sheet()->parentWidget(), &window);
        if (!automatic) {
            QVERIFY(loaded(session));
            QCOMPARE(session.sheet()->findChild<QLabel*>(u"host"_qs)->text(), u"127.0.0.1"_qs);
            pageOf(session)->runJavaScript(u"document.querySelector('button.allow').click()"_qs);
        }
        QVERIFY(waitUntil([&] { return ended.isDone(); }, std::chrono::seconds(30)));
        QCOMPARE(auth.lastError().value_or(QString()), QString());
        QVERIFY(auth.isSignedIn());
        QVERIFY(waitUntil([&] { return !session.sheet(); }));
    }

    void callsBack_data() {
        const auto row = columns<RawReply>("page");
        row("redirect", redirect("app.teskal.mac://callback?code=c&state=s"));
        row("redirect after a redirect", redirect("/second"));
        row("script", html("<script>location='app.teskal.mac://callback?code=c&state=s'</script>"));
    }
    void callsBack() {
        QFETCH(RawReply, page);
        RawHttpServer server(page);
        server.setHandler(
            [](const RawRequest&) { return redirect("app.teskal.mac://callback?code=c&state=s"); });
        SheetAuthSession session(suffix, [] { return nullptr; });
        auto run = startSession(session, server.url(u"/authorize"_qs));
        QCOMPARE(run.result(std::chrono::seconds(30)), QUrl(u"app.teskal.mac://callback?code=c&state=s"_qs));
    }

    void goesNowhereElse_data() {
        rowsOf<QByteArray>("target", {"file:///etc/passwd", "data:text/html,x", "chrome://version",
                                      "mailto:a@b.c", "frame"});
    }
    void goesNowhereElse() {
        QFETCH(QByteArray, target);
        RawHttpServer server(target == "frame"
                                 ? html("<iframe src='app.teskal.mac://callback?code=evil'></iframe>")
                                 : html("<a id=a href='" + target + "'>x</a><script>a.click()</script>"));
        SheetAuthSession session(suffix, [] { return nullptr; });
        auto run = startSession(session, server.url(u"/authorize"_qs));
        QVERIFY(loaded(session));
        // What the click began has been decided by the time a later navigation ends.
        server.setHandler([](const RawRequest&) { return html("second"); });
        pageOf(session)->load(server.url(u"/second"_qs));
        QVERIFY(waitUntil([&] { return pageOf(session)->url().path() == u"/second"_qs; }));
        QVERIFY(!run.isDone());
    }

    void closingItIsTheCancellation() {
        RawHttpServer server;
        server.setHandler([](const RawRequest&) { return html("hello"); });
        SheetAuthSession session(suffix, [] { return nullptr; });
        auto run = startSession(session, server.url());
        QVERIFY(loaded(session));
        session.sheet()->close();
        QVERIFY(failsAs(AuthError::Kind::Cancelled, run));

        auto stopped = startSession(session, server.url());
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        QVERIFY(waitUntil([&] { return !session.sheet(); }));

        auto window = std::make_unique<QWidget>();
        SheetAuthSession onWindow(suffix, [&window] { return window.get(); });
        auto orphan = startSession(onWindow, server.url());
        window.reset();
        QVERIFY(orphan.error<AuthError>());
    }

    void pageThatDoesNotLoadCanBeTriedAgain() {
        RawHttpServer server;
        server.setHandler([](const RawRequest&) { return redirect("app.teskal.mac://callback?code=c"); });
        const quint16 port = server.serverPort();
        const QUrl url = server.url();
        server.close(); // connections are refused from here on
        SheetAuthSession session(suffix, [] { return nullptr; });
        auto run = startSession(session, url);
        auto* retry = session.sheet()->findChild<QPushButton*>(u"retry"_qs);
        QVERIFY(waitUntil([&] { return retry->isVisible(); }, std::chrono::seconds(30)));
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        QTest::mouseClick(retry, Qt::LeftButton);
        QCOMPARE(run.result(std::chrono::seconds(30)), QUrl(u"app.teskal.mac://callback?code=c"_qs));
    }

    void opensOnlyWebPages() {
        SheetAuthSession session(suffix, [] { return nullptr; });
        auto run = startSession(session, QUrl(u"file:///etc/passwd"_qs));
        QVERIFY(run.error<AuthError>());
        QVERIFY(!session.sheet());
    }

private:
    static Pending<QUrl> startSession(SheetAuthSession& session, const QUrl& url) {
        return start([&session, url](std::stop_token token) { return session.run(url, token); });
    }

    /// Waits until the first page is there: the sheet says its host then, and the load has ended.
    static bool loaded(SheetAuthSession& session) {
        const auto* host = session.sheet()->findChild<QLabel*>(u"host"_qs);
        const auto* page = pageOf(session);
        return waitUntil([=] { return !host->text().isEmpty() && !page->isLoading(); },
                         std::chrono::seconds(30));
    }
};

int main(int argc, char** argv) {
    teskal::registerCallbackScheme();
    const QApplication application(argc, argv);
    TestSheetSignIn test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestSheetSignIn.moc"
