#include "AuthBench.h"
#include "Columns.h"

#include <vector>

namespace teskal::test {

using Kind = AuthError::Kind;

class TestAuthTokens : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void renewsInTime_data() {
        const auto row = columns<double, bool>("secondsLeft", "renewed");
        row("61 s", 61.0, false);
        row("60.001 s", 60.001, false);
        row("60 s", 60.0, true);
        row("expired", -1e6, true);
    }
    void renewsInTime() {
        FETCH(double, secondsLeft, bool, renewed);
        AuthBench bench;
        bench.beginSignedIn();
        bench.clock.advance(std::chrono::milliseconds(qRound64((1000 - secondsLeft) * 1000)));
        QCOMPARE(bench.askForToken().result(), renewed ? u"new"_qs : u"old"_qs);
        QCOMPARE(bench.requests("token"), renewed ? 1 : 0);
    }

    void tenCallsMakeOneRequest() {
        AuthBench bench;
        bench.beginExpired();
        std::vector<Pending<QString>> calls;
        for (int i = 0; i < 10; ++i)
            calls.push_back(bench.askForToken());
        for (auto& call : calls)
            QCOMPARE(call.result(), u"new"_qs);
        QCOMPARE(bench.requests("token"), 1);
        const auto form = bench.lastForm("token");
        QCOMPARE(form.value(u"grant_type"_qs), u"refresh_token"_qs);
        QCOMPARE(form.value(u"refresh_token"_qs), u"r1"_qs);
        QCOMPARE(form.value(u"client_id"_qs), u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs);
        // The renewed one is used, and the next renewal uses the rotated refresh token.
        QCOMPARE(bench.askForToken().result(), u"new"_qs);
        QCOMPARE(bench.requests("token"), 1);
        bench.clock.advance(std::chrono::hours(1));
        bench.askForToken().result();
        QCOMPARE(bench.requests("token"), 2);
        QCOMPARE(bench.lastForm("token").value(u"refresh_token"_qs), u"r2"_qs);
    }

    void keepsTheRefreshTokenThatIsNotReplaced() {
        AuthBench bench;
        bench.keep(u"old"_qs, u"r1"_qs, 100);
        bench.begin();
        bench.tokenReply = tokenReplyWith("new", "", 120);
        bench.clock.advance(std::chrono::minutes(5));
        bench.askForToken().result();
        QVERIFY(bench.settle());
        const auto stored = decodeRecord<Tokens>(bench.keychain.items[u"tokens"_qs], Source::LocalFile);
        QCOMPARE(stored.refreshToken.value_or(QString()), u"r1"_qs);
        QCOMPARE(stored.accessToken, u"new"_qs);
        QCOMPARE(stored.expiresAt, secondsSince2001(bench.clock.nowMs()) + 120);
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
        AuthBench bench;
        Auth& auth = bench.beginExpired();
        bench.tokenReply = reply;
        std::vector<Pending<QString>> calls;
        for (int i = 0; i < 3; ++i)
            calls.push_back(bench.askForToken());
        for (auto& call : calls)
            QCOMPARE(call.error<Error>().value().text(), text);
        QCOMPARE(bench.requests("token"), 1);
        QCOMPARE(auth.isSignedIn(), !ends);
        QVERIFY(bench.settle());
        QCOMPARE(bench.keychain.items.isEmpty(), ends);
        if (ends)
            return;
        bench.tokenReply = tokenReplyWith("later", "r3");
        QCOMPARE(bench.askForToken().result(), u"later"_qs);
    }

    void expiredWithoutRefreshTokenSignsOut() {
        AuthBench bench;
        bench.keep(u"old"_qs, std::nullopt, 100);
        Auth& auth = bench.begin();
        bench.clock.advance(std::chrono::seconds(40));
        QVERIFY(failsAs(Kind::SignedOut, bench.askForToken()));
        QVERIFY(!auth.profile());
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.items.isEmpty());
        QCOMPARE(bench.requests("token"), 0);
    }

    void stoppedWaiterEndsOnlyItself() {
        AuthBench bench;
        bench.beginExpired();
        bench.tokenReply = held(tokenReplyWith("new", "r2"));
        auto first = bench.askForToken();
        auto second = bench.askForToken();
        QVERIFY(bench.waitForRequests("token", 1));
        first.stop();
        QVERIFY(first.error<Cancelled>());
        QVERIFY(!second.isDone());
        bench.server.proceed();
        QCOMPARE(second.result(), u"new"_qs);
        QCOMPARE(bench.requests("token"), 1);
    }

    void destroyedWhileRenewing() {
        AuthBench bench;
        bench.beginExpired();
        bench.tokenReply = RawReply().pause();
        auto call = bench.askForToken();
        auto ofAccount = bench.askForTokenOf(u"ada"_qs);
        QVERIFY(bench.waitForRequests("token", 1));
        bench.destroy();
        QVERIFY(call.error<Cancelled>());
        QVERIFY(ofAccount.error<Cancelled>());
    }

    void signOutWhileRenewingStays() {
        AuthBench bench;
        Auth& auth = bench.beginExpired();
        bench.tokenReply = held(tokenReplyWith("late", "r-late"));
        auto call = bench.askForToken();
        QVERIFY(bench.waitForRequests("token", 1));
        auth.signOut();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(failsAs(Kind::SignedOut, call));
        bench.server.proceed();
        // What the provider handed out too late is given back, and nothing comes to life again.
        QVERIFY(bench.waitForRequests("revoke", 2));
        QCOMPARE(bench.lastForm("revoke").value(u"token"_qs), u"r-late"_qs);
        QVERIFY(bench.settle());
        QVERIFY(!auth.isSignedIn() && !auth.profile());
        QVERIFY(bench.keychain.items.isEmpty());
        QVERIFY(failsAs(Kind::SignedOut, bench.askForToken()));
    }

    void otherAccountWhileRenewing() {
        AuthBench bench;
        Auth& auth = bench.beginExpired();
        bench.tokenReply = held(tokenReplyWith("ada-2", "r-ada"));
        auto adas = bench.askForTokenOf(u"ada"_qs);
        QVERIFY(bench.waitForRequests("token", 1));
        bench.tokenReply = tokenReplyWith("bob-1", "r-bob");
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.signIn();
        QCOMPARE(auth.profile()->sub, u"bob"_qs);
        bench.server.proceed();
        QVERIFY(bench.waitForRequests("revoke", 1));
        QVERIFY(failsAs(Kind::SignedOut, adas));
        QCOMPARE(bench.askForTokenOf(u"bob"_qs).result(), u"bob-1"_qs);
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.items[u"tokens"_qs].contains("bob-1"));
    }

    void tokenOnlyForTheAccountThatAsks() {
        AuthBench bench;
        bench.beginSignedIn();
        QCOMPARE(bench.askForTokenOf(u"ada"_qs).result(), u"old"_qs);
        for (const auto& other : {u"bob"_qs, QString()})
            QVERIFY(failsAs(Kind::SignedOut, bench.askForTokenOf(other)));
        QVERIFY(bench.auth().isSignedIn());
    }

    void waitsForTheKeyring() {
        AuthBench bench;
        bench.keep();
        bench.keychain.close();
        Auth& auth = bench.create();
        auto call = bench.askForToken();
        auto stopped = bench.askForToken();
        runQueued();
        QVERIFY(auth.isLoading());
        QVERIFY(!call.isDone());
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        bench.keychain.open();
        QCOMPARE(call.result(), u"old"_qs);

        bench.keychain.close();
        bench.create();
        auto orphan = bench.askForToken();
        bench.keychain.open(); // the answer is on its way when Auth goes
        bench.destroy();
        QVERIFY(orphan.error<Cancelled>());
    }

    void signOutBeforeTheKeyringAnswers() {
        AuthBench bench;
        bench.keep();
        bench.keychain.close();
        Auth& auth = bench.create();
        auth.signOut();
        bench.keychain.open();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QVERIFY(bench.settle());
        QVERIFY(!auth.isSignedIn());
        QVERIFY(bench.keychain.items.isEmpty());
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthTokens)
#include "TestAuthTokens.moc"
