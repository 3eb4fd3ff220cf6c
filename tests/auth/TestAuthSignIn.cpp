#include "AuthBench.h"
#include "Columns.h"

#include <QSignalSpy>

namespace teskal::test {

/// How somebody comes to be signed in, who that is, and what ends it.
class TestAuthSignIn : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { bench_.emplace(); }

    void succeeds() {
        Auth& auth = bench_->begin();
        QSignalSpy signingIn(&auth, &Auth::isSigningInChanged);
        QSignalSpy errors(&auth, &Auth::lastErrorChanged);
        const auto ended = auth.signIn();
        QVERIFY(auth.isSigningIn());
        QVERIFY(auth.signIn().isDone()); // one at a time
        QVERIFY(auth.isSigningIn() && !ended.isDone());
        QCOMPARE(bench_->page.opened.size(), 1);
        bench_->answerPage(u"c/1"_qs);
        QVERIFY(ends(ended));
        QVERIFY(auth.isSignedIn());
        QVERIFY(!auth.isSigningIn());
        QCOMPARE(signingIn.count(), 2);
        QCOMPARE(errors.count(), 0);
        auto form = bench_->lastForm("token");
        QCOMPARE(form.take(u"code_verifier"_qs).size(), 43);
        const QMap<QString, QString> expected{{u"grant_type"_qs, u"authorization_code"_qs},
                                              {u"code"_qs, u"c/1"_qs},
                                              {u"redirect_uri"_qs, u"app.teskal.mac://callback"_qs},
                                              {u"client_id"_qs, u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs}};
        QCOMPARE(form, expected);
        const RawRequest request = bench_->server.requests().first();
        QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
        QVERIFY(request.body.contains("redirect_uri=app.teskal.mac%3A%2F%2Fcallback"));
        QVERIFY(bench_->settle());
        QCOMPARE(bench_->keychain.items.size(), 2);
        QVERIFY(bench_->begin().isSignedIn()); // and the next start knows it
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
        Auth& auth = bench_->begin();
        bench_->tokenReply = token;
        bench_->userInfoReply = userInfo;
        bench_->signIn();
        QVERIFY(!auth.isSignedIn());
        QCOMPARE(auth.lastError().value_or(QString()), text);
        QVERIFY(bench_->settle());
        QCOMPARE(bench_->keychain.items.contains(u"tokens"_qs), tokensStay);
        // The next try takes the text away at once.
        QSignalSpy errors(&auth, &Auth::lastErrorChanged);
        auth.signIn();
        QVERIFY(!auth.lastError());
        QCOMPARE(errors.count(), 1);
    }

    void linkOfSomebodyElseIsRefused() {
        Auth& auth = bench_->begin();
        const auto ended = auth.signIn();
        bench_->page.callBack(QUrl(u"app.teskal.mac://callback?code=c&state=s"_qs));
        QVERIFY(ends(ended));
        QCOMPARE(auth.lastError().value_or(QString()), u"Sign-in didn’t match the request. Try again."_qs);
        QVERIFY(bench_->server.requests().isEmpty());
    }

    void givingUpShowsNothing() {
        Auth& auth = bench_->begin();
        auto ended = auth.signIn();
        bench_->page.fail(AuthError::cancelled());
        QVERIFY(ends(ended));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn();
        auth.cancelSignIn();
        QVERIFY(auth.isSigningIn());
        QVERIFY(ends(ended));
        QVERIFY(!auth.lastError() && !auth.isSigningIn());

        ended = auth.signIn(); // given up while the code is being exchanged
        bench_->tokenReply = RawReply().pause();
        bench_->answerPage();
        QVERIFY(bench_->waitForRequests("token", 1));
        auth.cancelSignIn();
        QVERIFY(ends(ended));
        QVERIFY(!auth.lastError() && !auth.isSignedIn());
    }

    void otherAccountTakesNothingOver() {
        Auth& auth = bench_->beginSignedIn();
        QVERIFY(bench_->settle());
        bench_->keychain.changes.clear();
        QStringList seen;
        connect(&auth, &Auth::profileChanged, this,
                [&] { seen += auth.profile() ? auth.profile()->sub : u"nobody"_qs; });
        bench_->tokenReply = tokenReplyWith("bob-t", ""); // no refresh token: Ada's must not fill in
        bench_->userInfoReply = userInfoReplyFor("bob");
        bench_->signIn();
        QCOMPARE(seen, QStringList({u"nobody"_qs, u"bob"_qs}));
        QVERIFY(bench_->settle());
        const auto stored = decodeRecord<Tokens>(bench_->keychain.items[u"tokens"_qs], Source::LocalFile);
        QCOMPARE(stored.accessToken, u"bob-t"_qs);
        QVERIFY(!stored.refreshToken);
        QCOMPARE(bench_->keychain.changes, QStringList({u"remove tokens"_qs, u"remove profile"_qs,
                                                        u"write tokens"_qs, u"write profile"_qs}));
    }

    void signInWhileTheKeyringIsSlow() {
        bench_->keep(u"ada-t"_qs, u"ada-r"_qs, 1000);
        bench_->keychain.close();
        Auth& auth = bench_->create();
        bench_->userInfoReply = userInfoReplyFor("bob");
        bench_->tokenReply = tokenReplyWith("bob-t", "bob-r");
        bench_->signIn();
        bench_->keychain.open();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QVERIFY(bench_->settle());
        QCOMPARE(auth.profile()->sub, u"bob"_qs);
        QCOMPARE(bench_->askForToken().result(), u"bob-t"_qs);
        QVERIFY(bench_->keychain.items[u"tokens"_qs].contains("bob-t"));
    }

    void knownProfileShowsAtOnce() {
        bench_->keep();
        bench_->keepProfile(u"ada"_qs);
        bench_->userInfoReply = RawReply().pause();
        Auth& auth = bench_->create();
        QVERIFY(auth.isLoading());
        QVERIFY(waitUntil([&] { return auth.isSignedIn(); }));
        QCOMPARE(auth.profile()->displayName(), u"You"_qs);
        QVERIFY(bench_->waitForRequests("userinfo", 1));
        QVERIFY(auth.isLoading());
        // A slow provider keeps nobody from working.
        QCOMPARE(bench_->askForToken().result(), u"old"_qs);
    }

    void damagedItems_data() {
        const auto row = columns<QByteArray, QByteArray, bool>("tokens", "profile", "signedIn");
        const QByteArray good = R"({"accessToken":"t","expiresAt":9e9})";
        row("not JSON", "{\"accessTok", R"({"sub":"ada"})", false);
        row("no expiry", R"({"accessToken":"t"})", R"({"sub":"ada"})", false);
        row("profile not JSON", good, QByteArray("\xff\x00x", 3), true);
        row("profile without identity", good, R"({"name":"x"})", true);
        row("empty identity", good, R"({"sub":""})", true);
    }
    void damagedItems() {
        FETCH(QByteArray, tokens, QByteArray, profile, bool, signedIn);
        bench_->keychain.items = {{u"tokens"_qs, tokens}, {u"profile"_qs, profile}};
        Auth& auth = bench_->create();
        QVERIFY(!auth.profile()); // what is damaged is not shown, not even for a moment
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QCOMPARE(auth.isSignedIn(), signedIn);
        if (!signedIn)
            QCOMPARE(bench_->keychain.items.value(u"tokens"_qs), tokens);
    }

    void userInfo_data() {
        // sub: afterwards; empty when signed out
        const auto row = columns<RawReply, QString>("reply", "sub");
        const auto ok = [](const QByteArray& body) { return RawReply::complete(200, body); };
        const QString known = u"known"_qs;
        row("profile", ok(R"({"sub":"ada","extra":[1]})"), "ada");
        row("nulls count as absent", ok(R"({"sub":"ada","name":null})"), "ada");
        row("empty identity", ok(R"({"sub":""})"), known);
        row("no identity", ok(R"({"name":"Ada"})"), known);
        row("identity as number", ok(R"({"sub":7})"), known);
        row("name of another type", ok(R"({"sub":"ada","name":{}})"), known);
        row("array", ok(R"([{"sub":"ada"}])"), known);
        row("page", ok("<html>"), known);
        row("empty", ok(""), known);
        row("truncated", ok("{\"sub\":\"ada"), known);
        row("deeply nested", ok("{\"sub\":\"ada\",\"x\":" + QByteArray(10'000, '[')), known);
        row("larger than sense", ok(QByteArray(2 << 20, ' ')), known);
        row("500", RawReply::complete(500, ""), known);
        row("403", RawReply::complete(403, ""), known);
        row("204", RawReply::head(204, ""), known);
        row("redirect elsewhere", RawReply::complete(302, "", "Location: http://127.0.0.1:1/\r\n"), known);
        row("connection lost", RawReply().close(), known);
        row("401 twice", RawReply::complete(401, ""), QString());
    }
    void userInfo() {
        FETCH(RawReply, reply, QString, sub);
        bench_->keep();
        bench_->keepProfile(u"known"_qs);
        bench_->userInfoReply = reply;
        Auth& auth = bench_->begin();
        QCOMPARE(auth.profile() ? auth.profile()->sub : QString(), sub);
        QCOMPARE(auth.isSignedIn(), !sub.isEmpty());
        QVERIFY(bench_->settle());
        QVERIFY(bench_->keychain.items.value(u"profile"_qs).contains(sub.toUtf8()));
        QCOMPARE(bench_->keychain.items.isEmpty(), sub.isEmpty());
    }

    void unauthorizedOnceRenewsAndAsksAgain() {
        bench_->keep();
        bench_->server.enqueue(RawReply::complete(401, ""));
        Auth& auth = bench_->begin();
        QCOMPARE(auth.profile()->sub, u"ada"_qs);
        QCOMPARE(bench_->requests("token"), 1);
        QCOMPARE(bench_->requests("userinfo"), 2);
        QCOMPARE(bench_->server.requests().first().header("Authorization"), QByteArray("Bearer old"));
        QCOMPARE(bench_->server.requests().last().header("Authorization"), QByteArray("Bearer new"));
    }

    void signOutWhileAskingStays() {
        Auth& auth = bench_->beginSignedIn();
        bench_->userInfoReply = held(userInfoReplyFor("ghost"));
        const auto done = auth.refreshProfile();
        QVERIFY(bench_->waitForRequests("userinfo", 2));
        auth.signOut();
        bench_->server.proceed();
        QVERIFY(ends(done));
        QVERIFY(bench_->settle());
        QVERIFY(!auth.profile());
        QVERIFY(bench_->keychain.items.isEmpty());
    }

    void revocation_data() { rows<bool>("refreshable", {{"with refresh token", true}, {"without", false}}); }
    void revocation() {
        QFETCH(const bool, refreshable);
        bench_->keep(u"t"_qs, refreshable ? std::optional(u"r1"_qs) : std::nullopt, 1000);
        Auth& auth = bench_->begin();
        auth.signOut();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(bench_->settle());
        if (refreshable) {
            QVERIFY(bench_->waitForRequests("revoke", 1));
            const auto form = bench_->lastForm("revoke");
            QCOMPARE(form.value(u"token"_qs), u"r1"_qs);
            QCOMPARE(form.value(u"token_type_hint"_qs), u"refresh_token"_qs);
            QCOMPARE(form.value(u"client_id"_qs), u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs);
        } else {
            // A request after it on the same connection pool has arrived: the revocation would have, too.
            bench_->keep(u"t"_qs, std::nullopt, 1000);
            bench_->begin();
            QCOMPARE(bench_->requests("revoke"), 0);
        }
    }

private:
    std::optional<AuthBench> bench_;
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthSignIn)
#include "TestAuthSignIn.moc"
