#include "AuthBench.h"
#include "AuthSessionChooser.h"
#include "BrowserAuthSession.h"
#include "BrowserSignInPanel.h"
#include "Columns.h"
#include "LateAuthSession.h"
#include "LinkHandlerCheck.h"
#include "LocalService.h"
#include "ServiceControl.h"
#include "SingleInstance.h"
#include "TestFiles.h"

#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>

using namespace teskal::test;

namespace {

const QUrl page(u"https://id.example/oauth/authorize?state=s"_qs);
const QString callback = u"app.teskal.mac://callback?code=c&state=s"_qs;

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
        QVERIFY(link.scheme() == u"app.teskal.mac"_qs);
        QProcess second;
        second.start(QStringLiteral(TESKAL_SECOND_START), {folder.path(), link.toString(QUrl::FullyEncoded)});
        QVERIFY(ends(ended));
        QCOMPARE(auth.lastError().value_or(QString()), QString());
        QVERIFY(auth.isSignedIn() && !auth.profile()->sub.isEmpty());
        QVERIFY(waitUntil([&] { return second.state() == QProcess::NotRunning; }));
        QCOMPARE(second.exitCode(), 0);

        // The provider ends the session: the renewal is refused, and the user is signed out.
        control.post(u"tokens"_qs, QJsonObject{{u"revokeAll"_qs, true}});
        clock.advance(std::chrono::hours(2));
        auto refused = start([&](std::stop_token stop) { return auth.accessToken(stop); });
        QVERIFY(failsAs(AuthError::Kind::SignedOut, refused));
        QVERIFY(!auth.isSignedIn() && keychain.items.isEmpty());
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
        QVERIFY(ends(ended));
        QVERIFY(auth.isSignedIn());
        QCOMPARE(control.count(u"sessions"_qs), 1);
        auth.signOut();
        QVERIFY(waitUntil([&] { return control.count(u"sessions"_qs) == 0; }));
        // A provider whose user says no is quoted.
        control.post(u"consent"_qs, QJsonObject{{u"deny"_qs, true}});
        const auto denied = auth.signIn();
        provider.callBack(control.visit(provider.opened.last()));
        QVERIFY(ends(denied));
        QCOMPARE(auth.lastError().value_or(QString()), u"You didn’t let Teskal sign in."_qs);
    }

    /// A session that cannot be made ends the sign-in with what says why; the next one tries again.
    void aSessionIsMadeWhenItIsNeeded() {
        FakeAuthSession* made = nullptr;
        bool canBeMade = false;
        LateAuthSession late([&]() -> std::unique_ptr<AuthSession> {
            if (!canBeMade)
                throw Error(u"Missing."_qs);
            auto session = std::make_unique<FakeAuthSession>();
            made = session.get();
            return session;
        });
        const auto run = [&](std::stop_token token) { return late.run(page, token); };
        auto failed = start(run);
        const auto error = failed.error<Error>();
        QVERIFY(error);
        QCOMPARE(error->text(), u"Missing."_qs);
        canBeMade = true;
        auto begun = start(run);
        QVERIFY(made);
        QCOMPARE(made->opened, QList<QUrl>{page});
        made->callBack(QUrl(callback));
        QCOMPARE(begun.result(), QUrl(callback));
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
        QVERIFY(browser.deliver(u"  "_qs + callback + u"\n"_qs));
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
        auto* hint = panel.findChild<QLabel*>(u"hint"_qs);
        QCOMPARE(QAccessible::queryAccessibleInterface(hint)->role(), QAccessible::AlertMessage);
        QCOMPARE(hint->text(), u"Your browser didn’t open. Try again."_qs);
        works = true;
        QTest::mouseClick(panel.findChild<QPushButton*>(u"again"_qs), Qt::LeftButton);
        QCOMPARE(openings, 2);
        QVERIFY(hint->text() != u"Your browser didn’t open. Try again."_qs);

        auto* link = panel.findChild<QLineEdit*>(u"link"_qs);
        auto* use = panel.findChild<QPushButton*>(u"use"_qs);
        QVERIFY(!use->isEnabled());
        link->setText(u"https://id.example/"_qs);
        QTest::mouseClick(use, Qt::LeftButton);
        QVERIFY(hint->text().startsWith(u"That isn’t a sign-in link."_qs) && panel.isVisible());
        link->setText(callback);
        QTest::keyClick(link, Qt::Key_Return);
        QCOMPARE(run.result(), QUrl(callback));
        QVERIFY(!panel.isVisible());
        QVERIFY(link->text().isEmpty()); // a code does not stay on screen

        auto closed = start([&](std::stop_token token) { return browser.run(page, token); });
        QVERIFY(panel.isVisible());
        QTest::keyClick(&panel, Qt::Key_Escape);
        QVERIFY(failsAs(AuthError::Kind::Cancelled, closed));
        QVERIFY(!panel.isVisible());
    }

    void linksComeHere_data() {
        // handler: as the user's choice says; exec: of the desktop files
        const auto row = columns<QByteArray, QString, QString, QByteArray, bool>(
            "handler", "program", "desktopFile", "exec", "here");
        const QString ours = u"teskal.desktop"_qs;
        const QString real = u"xdg-mime"_qs;
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
        FETCH(QByteArray, handler, QString, program, QString, desktopFile, QByteArray, exec, bool, here);
        QTemporaryDir home;
        const QByteArray type = "x-scheme-handler/app.teskal.mac";
        for (const char* name : {"teskal.desktop", "other.desktop"})
            writeFile(home.filePath(u"data/applications/"_qs + QString::fromLatin1(name)),
                      "[Desktop Entry]\nType=Application\nName=X\nExec=" + exec + "\nMimeType=" + type +
                          ";\n");
        writeFile(home.filePath(u"config/mimeapps.list"_qs),
                  handler.isEmpty() ? QByteArray()
                                    : "[Default Applications]\n" + type + '=' + handler + '\n');
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_qs).toUtf8());
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_qs).toUtf8());
        SystemClock clock;
        LinkHandlerCheck check(clock, desktopFile, QStandardPaths::findExecutable(u"true"_qs), program);
        QCOMPARE(waitFor([&](std::stop_token token) { return check.linksComeHere(token); }), here);
    }

    void silentToolCountsAsAnother() {
        QTemporaryDir home;
        const QString tool = home.filePath(u"tool"_qs);
        writeFile(tool, "#!/bin/sh\nread never\n");
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
        const QString desktopFile = u"teskal.desktop"_qs;
        const QString installation = QStandardPaths::findExecutable(u"true"_qs);
        writeFile(home.filePath(u"applications/"_qs + desktopFile), "[Desktop Entry]\nExec=true\n");
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

QTEST_MAIN(TestBrowserSignIn)
#include "TestBrowserSignIn.moc"
