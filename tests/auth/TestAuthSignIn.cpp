#include "AuthBench.h"
#include "Columns.h"

#include <QSignalSpy>
#include <QTest>
#include <QUrlQuery>

namespace teskal::test {

class TestAuthSignIn : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void succeeds() {
        AuthBench bench;
        Auth& auth = bench.begin();
        QSignalSpy signingIn(&auth, &Auth::isSigningInChanged);
        QSignalSpy errors(&auth, &Auth::lastErrorChanged);
        const auto ended = auth.signIn();
        QVERIFY(auth.isSigningIn());
        QVERIFY(!ended.isDone());
        bench.answerPage(QStringLiteral("c/1"));
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QVERIFY(auth.isSignedIn());
        QVERIFY(!auth.isSigningIn());
        QCOMPARE(signingIn.count(), 2);
        QCOMPARE(errors.count(), 0);
        const auto form = bench.lastForm("token");
        QCOMPARE(form.size(), 5);
        QCOMPARE(form.value(QStringLiteral("grant_type")), QStringLiteral("authorization_code"));
        QCOMPARE(form.value(QStringLiteral("code")), QStringLiteral("c/1"));
        QCOMPARE(form.value(QStringLiteral("redirect_uri")), QStringLiteral("app.teskal.mac://callback"));
        QCOMPARE(form.value(QStringLiteral("code_verifier")).size(), 43);
        const RawRequest request = bench.server.requests().first();
        QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
        QVERIFY(request.body.contains("redirect_uri=app.teskal.mac%3A%2F%2Fcallback"));
        QVERIFY(bench.settle());
        QCOMPARE(bench.keychain.items.size(), 2);
        QVERIFY(bench.begin().isSignedIn()); // and the next start knows it
    }

    void fails_data() {
        const auto row =
            columns<RawReply, RawReply, QString, bool>("token", "userInfo", "text", "tokensStay");
        const RawReply good = tokenReplyWith("t", "r");
        const RawReply ada = userInfoReplyFor("ada");
        const QString nobody = QStringLiteral("Signed in, but Passhold didn’t say who you are. Try again.");
        row("refused", RawReply::complete(400, R"({"error":"invalid_grant","error_description":"Used."})"),
            ada, "Used.", false);
        row("server down", RawReply::complete(503, ""), ada, "Passhold didn’t accept the sign-in.", false);
        row("connection lost", RawReply().close(), ada, HttpError::textFor(HttpError::Kind::ConnectionLost),
            false);
        row("no profile", good, RawReply::complete(500, ""), nobody, true);
        row("empty identity", good, RawReply::complete(200, R"({"sub":""})"), nobody, true);
        row("profile refused", good, RawReply::complete(401, ""), nobody, false);
    }
    void fails() {
        QFETCH(RawReply, token);
        QFETCH(RawReply, userInfo);
        QFETCH(QString, text);
        QFETCH(bool, tokensStay);
        AuthBench bench;
        Auth& auth = bench.begin();
        bench.tokenReply = token;
        bench.userInfoReply = userInfo;
        bench.signIn();
        QVERIFY(!auth.isSignedIn());
        QCOMPARE(auth.lastError().value_or(QString()), text);
        QVERIFY(bench.settle());
        QCOMPARE(bench.keychain.items.contains(QStringLiteral("tokens")), tokensStay);
        // The next try takes the text away at once.
        QSignalSpy errors(&auth, &Auth::lastErrorChanged);
        auth.signIn();
        QVERIFY(!auth.lastError());
        QCOMPARE(errors.count(), 1);
    }

    void linkOfSomebodyElseIsRefused() {
        AuthBench bench;
        Auth& auth = bench.begin();
        const auto ended = auth.signIn();
        bench.page.callBack(QUrl(QStringLiteral("app.teskal.mac://callback?code=c&state=s")));
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QCOMPARE(auth.lastError().value_or(QString()),
                 QStringLiteral("Sign-in didn’t match the request. Try again."));
        QVERIFY(bench.server.requests().isEmpty());
    }

    void givingUpShowsNothing() {
        AuthBench bench;
        Auth& auth = bench.begin();
        auto ended = auth.signIn();
        bench.page.fail(AuthError::cancelled());
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn();
        auth.cancelSignIn();
        QVERIFY(auth.isSigningIn());
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn(); // given up while the code is being exchanged
        bench.tokenReply = RawReply().pause();
        bench.answerPage();
        QVERIFY(bench.waitForRequests("token", 1));
        auth.cancelSignIn();
        QVERIFY(waitUntil([&] { return ended.isDone(); }));
        QVERIFY(!auth.lastError() && !auth.isSignedIn());
    }

    void secondCallDoesNothing() {
        AuthBench bench;
        Auth& auth = bench.begin();
        const auto first = auth.signIn();
        const auto second = auth.signIn();
        QVERIFY(second.isDone());
        QVERIFY(!first.isDone() && auth.isSigningIn());
        QCOMPARE(bench.page.opened.size(), 1);
    }

    void everyTryHasSecretsOfItsOwn() {
        AuthBench bench;
        Auth& auth = bench.begin();
        for (int i = 0; i < 2; ++i) {
            const auto ended = auth.signIn();
            bench.page.fail(AuthError::cancelled());
            QVERIFY(waitUntil([&] { return ended.isDone(); }));
        }
        for (const char* name : {"state", "nonce", "code_challenge"}) {
            const QString item = QString::fromLatin1(name);
            QVERIFY(QUrlQuery(bench.page.opened[0]).queryItemValue(item) !=
                    QUrlQuery(bench.page.opened[1]).queryItemValue(item));
        }
    }

    void otherAccountTakesNothingOver() {
        AuthBench bench;
        bench.keep(QStringLiteral("ada-t"), QStringLiteral("ada-r"), 1000);
        Auth& auth = bench.begin();
        QVERIFY(bench.settle());
        bench.keychain.changes.clear();
        QStringList seen;
        connect(&auth, &Auth::profileChanged, this,
                [&] { seen += auth.profile() ? auth.profile()->sub : QStringLiteral("nobody"); });
        bench.tokenReply = tokenReplyWith("bob-t", ""); // no refresh token: Ada's must not fill in
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.signIn();
        QCOMPARE(seen, QStringList({QStringLiteral("nobody"), QStringLiteral("bob")}));
        QVERIFY(bench.settle());
        const auto stored =
            decodeRecord<Tokens>(bench.keychain.items[QStringLiteral("tokens")], Source::LocalFile);
        QCOMPARE(stored.accessToken, QStringLiteral("bob-t"));
        QVERIFY(!stored.refreshToken);
        QCOMPARE(bench.keychain.changes,
                 QStringList({QStringLiteral("remove tokens"), QStringLiteral("remove profile"),
                              QStringLiteral("write tokens"), QStringLiteral("write profile")}));
    }

    void signInWhileTheKeyringIsSlow() {
        AuthBench bench;
        bench.keep(QStringLiteral("ada-t"), QStringLiteral("ada-r"), 1000);
        bench.keychain.close();
        Auth& auth = bench.create();
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.tokenReply = tokenReplyWith("bob-t", "bob-r");
        bench.signIn();
        bench.keychain.open();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QVERIFY(bench.settle());
        QCOMPARE(auth.profile()->sub, QStringLiteral("bob"));
        QCOMPARE(bench.askForToken().result(), QStringLiteral("bob-t"));
        QVERIFY(bench.keychain.items[QStringLiteral("tokens")].contains("bob-t"));
    }

    void destroyedWhileSigningIn() {
        AuthBench bench;
        Auth& auth = bench.begin();
        QSignalSpy signingIn(&auth, &Auth::isSigningInChanged);
        auth.signIn();
        bench.destroy();
        QCOMPARE(signingIn.count(), 1);
        bench.answerPage(); // too late, and nobody is there
        runQueued();
        QVERIFY(bench.server.requests().isEmpty());
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthSignIn)
#include "TestAuthSignIn.moc"
