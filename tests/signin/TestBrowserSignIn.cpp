#include "Auth.h"
#include "AuthSessionChooser.h"
#include "BrowserAuthSession.h"
#include "BrowserSignInPanel.h"
#include "Columns.h"
#include "FakeAuthSession.h"
#include "FakeKeychain.h"
#include "HttpSession.h"
#include "LinkHandlerCheck.h"
#include "LocalService.h"
#include "ManualClock.h"
#include "Pending.h"
#include "ServiceControl.h"
#include "SingleInstance.h"
#include "SystemClock.h"
#include "TestFiles.h"

#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace teskal::test {

namespace {

const QUrl page(QStringLiteral("https://id.example/oauth/authorize?state=s"));
const QString callback = QStringLiteral("app.teskal.mac://callback?code=c&state=s");

} // namespace

class TestBrowserSignIn : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QFile::setPermissions(runtime_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime_.path().toUtf8());
    }

    /// The browser visits the provider, which sends it to the callback link; the desktop starts the
    /// application a second time with it, and that start tells the running one.
    void wholeWay() {
        LocalService service;
        SystemClock wallClock;
        ManualClock clock;
        HttpSession http(wallClock);
        ServiceControl control(service);
        QTemporaryDir folder;
        SingleInstance instance(folder.path());
        QVERIFY(instance.claim());
        QUrl opened;
        BrowserAuthSession browser([&opened](const QUrl& url) {
            opened = url;
            return true;
        });
        connect(&instance, &SingleInstance::linkReceived, &browser,
                [&browser](const QUrl& link) { browser.deliver(link.toString(QUrl::FullyEncoded)); });
        FakeKeychain keychain;
        const Config config = *Config::forLocalService(service.origin().toString());
        Auth auth(config, http, keychain, browser, clock);

        const auto ended = auth.signIn();
        const QUrl link = control.visit(opened);
        QVERIFY(link.scheme() == QStringLiteral("app.teskal.mac"));
        QProcess second;
        second.start(QStringLiteral(TESKAL_SECOND_START), {folder.path(), link.toString(QUrl::FullyEncoded)});
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QCOMPARE(auth.lastError().value_or(QString()), QString());
        QVERIFY(auth.isSignedIn());
        QVERIFY(!auth.profile()->sub.isEmpty());
        QVERIFY(waitUntil([&] { return second.state() == QProcess::NotRunning; }));
        QCOMPARE(second.exitCode(), 0);

        // The provider ends the session: the renewal is refused, and the user is signed out.
        control.post(QStringLiteral("tokens"), QJsonObject{{QStringLiteral("revokeAll"), true}});
        clock.advance(std::chrono::hours(2));
        auto refused = start([&](std::stop_token stop) { return auth.accessToken(stop); });
        const auto error = refused.error<AuthError>();
        QVERIFY(error && error->kind() == AuthError::Kind::SignedOut);
        QVERIFY(!auth.isSignedIn());
        QVERIFY(keychain.items.isEmpty());
    }

    void signOutEndsTheSessionAtTheProvider() {
        LocalService service;
        SystemClock wallClock;
        HttpSession http(wallClock);
        ServiceControl control(service);
        FakeAuthSession provider;
        FakeKeychain keychain;
        const Config config = *Config::forLocalService(service.origin().toString());
        Auth auth(config, http, keychain, provider, wallClock);
        const auto ended = auth.signIn();
        provider.callBack(control.visit(provider.opened.first()));
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QVERIFY(auth.isSignedIn());
        QCOMPARE(control.count(QStringLiteral("sessions")), 1);
        auth.signOut();
        QVERIFY(waitUntil([&] { return control.count(QStringLiteral("sessions")) == 0; }));
        // A provider whose user says no is quoted.
        control.post(QStringLiteral("consent"), QJsonObject{{QStringLiteral("deny"), true}});
        const auto denied = auth.signIn();
        provider.callBack(control.visit(provider.opened.last()));
        QVERIFY(waitUntil([&] { return denied.isDone(); }));
        QCOMPARE(auth.lastError().value_or(QString()), QStringLiteral("You didn’t let Teskal sign in."));
    }

    void takesOnlyCallbackLinks() {
        BrowserAuthSession browser([](const QUrl&) { return true; });
        QVERIFY(!browser.deliver(callback)); // nobody waits
        QSignalSpy waiting(&browser, &BrowserAuthSession::isWaitingChanged);
        auto run = start([&](std::stop_token token) { return browser.run(page, token); });
        QVERIFY(browser.isWaiting());
        for (const char* other :
             {"", "https://id.example/?code=c", "app.teskal.macx://callback", "file:///x", "x"})
            QVERIFY(!browser.deliver(QString::fromLatin1(other)));
        auto rival = start([&](std::stop_token token) { return browser.run(page, token); });
        QVERIFY(rival.error<AuthError>());
        QVERIFY(browser.deliver(QStringLiteral("  ") + callback + QStringLiteral("\n")));
        QCOMPARE(run.result(), QUrl(callback));
        QVERIFY(!browser.isWaiting());
        QCOMPARE(waiting.count(), 2);
    }

    void endsWithItsWaiter() {
        auto browser = std::make_unique<BrowserAuthSession>([](const QUrl&) { return true; });
        auto stopped = start([&](std::stop_token token) { return browser->run(page, token); });
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        QVERIFY(!browser->isWaiting());
        auto orphan = start([&](std::stop_token token) { return browser->run(page, token); });
        browser.reset();
        QVERIFY(orphan.error<Cancelled>());
    }

    void panel() {
        int openings = 0;
        bool works = false;
        BrowserAuthSession browser([&](const QUrl& url) {
            ++openings;
            return works && url == page;
        });
        QWidget window;
        BrowserSignInPanel panel(browser, &window);
        window.show();
        QVERIFY(!panel.isVisible());
        auto run = start([&](std::stop_token token) { return browser.run(page, token); });
        QVERIFY(panel.isVisible());
        const auto* hint = panel.findChild<QLabel*>(QStringLiteral("hint"));
        QCOMPARE(hint->text(), QStringLiteral("Your browser didn’t open. Try again."));
        works = true;
        QTest::mouseClick(panel.findChild<QPushButton*>(QStringLiteral("again")), Qt::LeftButton);
        QCOMPARE(openings, 2);
        QVERIFY(hint->text() != QStringLiteral("Your browser didn’t open. Try again."));

        auto* link = panel.findChild<QLineEdit*>(QStringLiteral("link"));
        auto* use = panel.findChild<QPushButton*>(QStringLiteral("use"));
        QVERIFY(!use->isEnabled());
        link->setText(QStringLiteral("https://id.example/"));
        QTest::mouseClick(use, Qt::LeftButton);
        QVERIFY(hint->text().startsWith(QStringLiteral("That isn’t a sign-in link.")));
        QVERIFY(panel.isVisible());
        link->setText(callback);
        QTest::keyClick(link, Qt::Key_Return);
        QCOMPARE(run.result(), QUrl(callback));
        QVERIFY(!panel.isVisible());
        QVERIFY(link->text().isEmpty()); // a code does not stay on screen

        auto closed = start([&](std::stop_token token) { return browser.run(page, token); });
        QVERIFY(panel.isVisible());
        QTest::keyClick(&panel, Qt::Key_Escape);
        const auto error = closed.error<AuthError>();
        QVERIFY(error && error->kind() == AuthError::Kind::Cancelled);
        QVERIFY(!panel.isVisible());
    }

    void linksComeHere_data() {
        // handler: as the user's choice says; exec: of the desktop files
        const auto row = columns<QByteArray, QString, QString, QByteArray, bool>(
            "handler", "program", "desktopFile", "exec", "here");
        const QString ours = QStringLiteral("teskal.desktop");
        const QString real = QStringLiteral("xdg-mime");
        const QByteArray handler("teskal.desktop");
        const QByteArray exec("true %u");
        row("ours", handler, real, ours, exec, true);
        row("another installation", handler, real, ours, "cat %u", false);
        row("installation that went", handler, real, ours, "/opt/gone/true %u", false);
        row("another", "other.desktop", real, ours, exec, false);
        row("none", QByteArray(), real, ours, exec, false);
        row("no such tool", handler, "no-such-tool", ours, exec, false);
        row("tool that fails", handler, "false", ours, exec, false);
        row("none, and no file of ours", QByteArray(), real, QString(), exec, false);
    }
    void linksComeHere() {
        QFETCH(QByteArray, handler);
        QFETCH(QString, program);
        QFETCH(QString, desktopFile);
        QFETCH(QByteArray, exec);
        QFETCH(bool, here);
        QTemporaryDir home;
        const QByteArray type = "x-scheme-handler/app.teskal.mac";
        for (const char* name : {"teskal.desktop", "other.desktop"})
            writeFile(home.filePath(QStringLiteral("data/applications/") + QString::fromLatin1(name)),
                      "[Desktop Entry]\nType=Application\nName=X\nExec=" + exec + "\nMimeType=" + type +
                          ";\n");
        writeFile(home.filePath(QStringLiteral("config/mimeapps.list")),
                  handler.isEmpty() ? QByteArray()
                                    : "[Default Applications]\n" + type + '=' + handler + '\n');
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
        SystemClock clock;
        LinkHandlerCheck check(clock, desktopFile, QStandardPaths::findExecutable(QStringLiteral("true")),
                               program);
        QCOMPARE(waitFor([&](std::stop_token token) { return check.linksComeHere(token); }), here);
    }

    void silentToolCountsAsAnother() {
        QTemporaryDir home;
        const QString tool = home.filePath(QStringLiteral("tool"));
        writeFile(tool, "#!/bin/sh\nread never\n");
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
        const QString desktopFile = QStringLiteral("teskal.desktop");
        const QString installation = QStandardPaths::findExecutable(QStringLiteral("true"));
        writeFile(home.filePath(QStringLiteral("applications/") + desktopFile),
                  "[Desktop Entry]\nExec=true\n");
        qputenv("XDG_DATA_HOME", home.path().toUtf8());
        ManualClock clock;
        LinkHandlerCheck check(clock, desktopFile, installation, tool);
        auto asking = start([&](std::stop_token token) { return check.linksComeHere(token); });
        clock.advance(std::chrono::seconds(10));
        QCOMPARE(asking.result(), false);
    }

    void chooses() {
        FakeAuthSession browser;
        FakeAuthSession sheet;
        bool here = true;
        const AuthSessionChooser::Check check = [&here](std::stop_token) { return answer(here); };
        AuthSessionChooser chooser(check, browser, sheet);
        auto first = start([&](std::stop_token token) { return chooser.run(page, token); });
        browser.callBack(QUrl(callback));
        QCOMPARE(first.result(), QUrl(callback));
        here = false;
        auto second = start([&](std::stop_token token) { return chooser.run(page, token); });
        sheet.fail(AuthError::cancelled());
        QVERIFY(second.error<AuthError>());
        QCOMPARE(browser.opened.size(), 1);
        QCOMPARE(sheet.opened.size(), 1);
    }

private:
    static QCoro::Task<bool> answer(bool value) { co_return value; }

    QTemporaryDir runtime_;
};

} // namespace teskal::test

QTEST_MAIN(teskal::test::TestBrowserSignIn)
#include "TestBrowserSignIn.moc"
