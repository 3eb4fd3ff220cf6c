#include "AuthBench.h"
#include "Columns.h"

namespace teskal::test {

using Kind = AuthError::Kind;

class TestAuthTokens : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { bench_.emplace(); }

    void renewsInTime_data() {
        const auto row = columns<double, bool>("secondsLeft", "renewed");
        row("61 s", 61.0, false);
        row("60.001 s", 60.001, false);
        row("60 s", 60.0, true);
        row("expired", -1e6, true);
    }
    void renewsInTime() {
        FETCH(double, secondsLeft, bool, renewed);
        bench_->beginSignedIn();
        bench_->clock.advance(std::chrono::milliseconds(qRound64((1000 - secondsLeft) * 1000)));
        QCOMPARE(bench_->askForToken().result(), renewed ? u"new"_qs : u"old"_qs);
        QCOMPARE(bench_->requests("token"), renewed ? 1 : 0);
    }

    void tenCallsMakeOneRequest() {
        bench_->beginExpired();
        std::vector<Pending<QString>> calls;
        for (int i = 0; i < 10; ++i)
            calls.push_back(bench_->askForToken());
        for (auto& call : calls)
            QCOMPARE(call.result(), u"new"_qs);
        QCOMPARE(bench_->requests("token"), 1);
        const auto form = bench_->lastForm("token");
        QCOMPARE(form.value(u"grant_type"_qs), u"refresh_token"_qs);
        QCOMPARE(form.value(u"refresh_token"_qs), u"r1"_qs);
        QCOMPARE(form.value(u"client_id"_qs), u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs);
        // The renewed one is used, and the next renewal uses the rotated refresh token.
        QCOMPARE(bench_->askForToken().result(), u"new"_qs);
        QCOMPARE(bench_->requests("token"), 1);
        bench_->clock.advance(std::chrono::hours(1));
        bench_->askForToken().result();
        QCOMPARE(bench_->requests("token"), 2);
        QCOMPARE(bench_->lastForm("token").value(u"refresh_token"_qs), u"r2"_qs);
    }

    void keepsTheRefreshTokenThatIsNotReplaced() {
        bench_->keep(u"old"_qs, u"r1"_qs, 100);
        bench_->begin();
        bench_->tokenReply = tokenReplyWith("new", "", 120);
        bench_->clock.advance(std::chrono::minutes(5));
        bench_->askForToken().result();
        QVERIFY(bench_->settle());
        const auto stored = decodeRecord<Tokens>(bench_->keychain.items[u"tokens"_qs], Source::LocalFile);
        QCOMPARE(stored.refreshToken.value_or(QString()), u"r1"_qs);
        QCOMPARE(stored.accessToken, u"new"_qs);
        QCOMPARE(stored.expiresAt, secondsSince2001(bench_->clock.nowMs()) + 120);
    }

    void failedRenewal_data() {
        const auto row = columns<RawReply, bool, QString>("reply", "ends", "text");
        const QString signedOutText = u"Your session ended. Sign in again to keep chatting."_qs;
        const QString plain = u"Passhold didn’t accept the sign-in."_qs;
        row("400 invalid_grant", RawReply::complete(400, R"({"error":"invalid_grant"})"), true,
            signedOutText);
        row("401", RawReply::complete(401, ""), true, signedOutText);
        row("500", RawReply::complete(500, ""), false, plain);
        row("400 other", RawReply::complete(400, R"({"error":"slow_down"})"), false, "slow_down");
        row("200 without token", RawReply::complete(200, "{}"), false, plain);
        row("connection lost", RawReply().close(), false,
            HttpError::textFor(HttpError::Kind::ConnectionLost));
        row("redirect elsewhere", RawReply::complete(307, "", "Location: http://127.0.0.1:1/token\r\n"),
            false, plain);
    }
    void failedRenewal() {
        FETCH(RawReply, reply, bool, ends, QString, text);
        Auth& auth = bench_->beginExpired();
        bench_->tokenReply = reply;
        std::vector<Pending<QString>> calls;
        for (int i = 0; i < 3; ++i)
            calls.push_back(bench_->askForToken());
        for (auto& call : calls)
            QCOMPARE(call.error<Error>().value().text(), text);
        QCOMPARE(bench_->requests("token"), 1);
        QCOMPARE(auth.isSignedIn(), !ends);
        QVERIFY(bench_->settle());
        QCOMPARE(bench_->keychain.items.isEmpty(), ends);
        if (ends)
            return;
        bench_->tokenReply = tokenReplyWith("later", "r3");
        QCOMPARE(bench_->askForToken().result(), u"later"_qs);
    }

    void expiredWithoutRefreshTokenSignsOut() {
        bench_->keep(u"old"_qs, std::nullopt, 100);
        Auth& auth = bench_->begin();
        bench_->clock.advance(std::chrono::seconds(40));
        QVERIFY(failsAs(Kind::SignedOut, bench_->askForToken()));
        QVERIFY(!auth.profile());
        QVERIFY(bench_->settle());
        QVERIFY(bench_->keychain.items.isEmpty());
        QCOMPARE(bench_->requests("token"), 0);
    }

    void stoppedWaiterEndsOnlyItself() {
        bench_->beginExpired();
        bench_->tokenReply = held(tokenReplyWith("new", "r2"));
        auto first = bench_->askForToken();
        auto second = bench_->askForToken();
        QVERIFY(bench_->waitForRequests("token", 1));
        first.stop();
        QVERIFY(first.error<Cancelled>());
        QVERIFY(!second.isDone());
        bench_->server.proceed();
        QCOMPARE(second.result(), u"new"_qs);
        QCOMPARE(bench_->requests("token"), 1);
    }

    void destroyedWhileRenewing() {
        bench_->beginExpired();
        bench_->tokenReply = RawReply().pause();
        auto call = bench_->askForToken();
        auto ofAccount = bench_->askForTokenOf(u"ada"_qs);
        QVERIFY(bench_->waitForRequests("token", 1));
        bench_->destroy();
        QVERIFY(call.error<Cancelled>());
        QVERIFY(ofAccount.error<Cancelled>());
    }

    void signOutWhileRenewingStays() {
        Auth& auth = bench_->beginExpired();
        bench_->tokenReply = held(tokenReplyWith("late", "r-late"));
        auto call = bench_->askForToken();
        QVERIFY(bench_->waitForRequests("token", 1));
        auth.signOut();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(failsAs(Kind::SignedOut, call));
        bench_->server.proceed();
        // What the provider handed out too late is given back, and nothing comes to life again.
        QVERIFY(bench_->waitForRequests("revoke", 2));
        QCOMPARE(bench_->lastForm("revoke").value(u"token"_qs), u"r-late"_qs);
        QVERIFY(bench_->settle());
        QVERIFY(!auth.isSignedIn() && !auth.profile());
        QVERIFY(bench_->keychain.items.isEmpty());
        QVERIFY(failsAs(Kind::SignedOut, bench_->askForToken()));
    }

    void otherAccountWhileRenewing() {
        Auth& auth = bench_->beginExpired();
        bench_->tokenReply = held(tokenReplyWith("ada-2", "r-ada"));
        auto adas = bench_->askForTokenOf(u"ada"_qs);
        QVERIFY(bench_->waitForRequests("token", 1));
        bench_->tokenReply = tokenReplyWith("bob-1", "r-bob");
        bench_->userInfoReply = userInfoReplyFor("bob");
        bench_->signIn();
        QCOMPARE(auth.profile()->sub, u"bob"_qs);
        bench_->server.proceed();
        QVERIFY(bench_->waitForRequests("revoke", 1));
        QVERIFY(failsAs(Kind::SignedOut, adas));
        QCOMPARE(bench_->askForTokenOf(u"bob"_qs).result(), u"bob-1"_qs);
        QVERIFY(bench_->settle());
        QVERIFY(bench_->keychain.items[u"tokens"_qs].contains("bob-1"));
    }

    void tokenOnlyForTheAccountThatAsks() {
        bench_->beginSignedIn();
        QCOMPARE(bench_->askForTokenOf(u"ada"_qs).result(), u"old"_qs);
        for (const auto& other : {u"bob"_qs, QString()})
            QVERIFY(failsAs(Kind::SignedOut, bench_->askForTokenOf(other)));
        QVERIFY(bench_->auth().isSignedIn());
    }

    void waitsForTheKeyring() {
        bench_->keep();
        bench_->keychain.close();
        Auth& auth = bench_->create();
        auto call = bench_->askForToken();
        auto stopped = bench_->askForToken();
        runQueued();
        QVERIFY(auth.isLoading());
        QVERIFY(!call.isDone());
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        bench_->keychain.open();
        QCOMPARE(call.result(), u"old"_qs);

        bench_->keychain.close();
        bench_->create();
        auto orphan = bench_->askForToken();
        bench_->keychain.open(); // the answer is on its way when Auth goes
        bench_->destroy();
        QVERIFY(orphan.error<Cancelled>());
    }

    void signOutBeforeTheKeyringAnswers() {
        bench_->keep();
        bench_->keychain.close();
        Auth& auth = bench_->create();
        auth.signOut();
        bench_->keychain.open();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QVERIFY(bench_->settle());
        QVERIFY(!auth.isSignedIn());
        QVERIFY(bench_->keychain.items.isEmpty());
    }

private:
    std::optional<AuthBench> bench_;
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthTokens)
#include "TestAuthTokens.moc"
