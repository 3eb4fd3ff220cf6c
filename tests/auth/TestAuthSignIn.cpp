#include "AuthBench.h"
#include "Columns.h"

#include <QSignalSpy>

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
        bench.answerPage(u"c/1"_qs);
        QVERIFY(ends(ended));
        QVERIFY(auth.isSignedIn());
        QVERIFY(!auth.isSigningIn());
        QCOMPARE(signingIn.count(), 2);
        QCOMPARE(errors.count(), 0);
        auto form = bench.lastForm("token");
        QCOMPARE(form.take(u"code_verifier"_qs).size(), 43);
        const QMap<QString, QString> expected{{u"grant_type"_qs, u"authorization_code"_qs},
                                              {u"code"_qs, u"c/1"_qs},
                                              {u"redirect_uri"_qs, u"app.teskal.mac://callback"_qs},
                                              {u"client_id"_qs, u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs}};
        QCOMPARE(form, expected);
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
        const QString nobody = u"Signed in, but Passhold didn’t say who you are. Try again."_qs;
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
        FETCH(RawReply, token, RawReply, userInfo, QString, text, bool, tokensStay);
        AuthBench bench;
        Auth& auth = bench.begin();
        bench.tokenReply = token;
        bench.userInfoReply = userInfo;
        bench.signIn();
        QVERIFY(!auth.isSignedIn());
        QCOMPARE(auth.lastError().value_or(QString()), text);
        QVERIFY(bench.settle());
        QCOMPARE(bench.keychain.items.contains(u"tokens"_qs), tokensStay);
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
        bench.page.callBack(QUrl(u"app.teskal.mac://callback?code=c&state=s"_qs));
        QVERIFY(ends(ended));
        QCOMPARE(auth.lastError().value_or(QString()), u"Sign-in didn’t match the request. Try again."_qs);
        QVERIFY(bench.server.requests().isEmpty());
    }

    void givingUpShowsNothing() {
        AuthBench bench;
        Auth& auth = bench.begin();
        auto ended = auth.signIn();
        bench.page.fail(AuthError::cancelled());
        QVERIFY(ends(ended));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn();
        auth.cancelSignIn();
        QVERIFY(auth.isSigningIn());
        QVERIFY(ends(ended));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn(); // given up while the code is being exchanged
        bench.tokenReply = RawReply().pause();
        bench.answerPage();
        QVERIFY(bench.waitForRequests("token", 1));
        auth.cancelSignIn();
        QVERIFY(ends(ended));
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

    void otherAccountTakesNothingOver() {
        AuthBench bench;
        Auth& auth = bench.beginSignedIn();
        QVERIFY(bench.settle());
        bench.keychain.changes.clear();
        QStringList seen;
        connect(&auth, &Auth::profileChanged, this,
                [&] { seen += auth.profile() ? auth.profile()->sub : u"nobody"_qs; });
        bench.tokenReply = tokenReplyWith("bob-t", ""); // no refresh token: Ada's must not fill in
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.signIn();
        QCOMPARE(seen, QStringList({u"nobody"_qs, u"bob"_qs}));
        QVERIFY(bench.settle());
        const auto stored = decodeRecord<Tokens>(bench.keychain.items[u"tokens"_qs], Source::LocalFile);
        QCOMPARE(stored.accessToken, u"bob-t"_qs);
        QVERIFY(!stored.refreshToken);
        QCOMPARE(bench.keychain.changes, QStringList({u"remove tokens"_qs, u"remove profile"_qs,
                                                      u"write tokens"_qs, u"write profile"_qs}));
    }

    void signInWhileTheKeyringIsSlow() {
        AuthBench bench;
        bench.keep(u"ada-t"_qs, u"ada-r"_qs, 1000);
        bench.keychain.close();
        Auth& auth = bench.create();
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.tokenReply = tokenReplyWith("bob-t", "bob-r");
        bench.signIn();
        bench.keychain.open();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QVERIFY(bench.settle());
        QCOMPARE(auth.profile()->sub, u"bob"_qs);
        QCOMPARE(bench.askForToken().result(), u"bob-t"_qs);
        QVERIFY(bench.keychain.items[u"tokens"_qs].contains("bob-t"));
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthSignIn)
#include "TestAuthSignIn.moc"
