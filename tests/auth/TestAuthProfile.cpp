#include "AuthBench.h"
#include "Columns.h"

#include <QSignalSpy>
#include <QTest>

namespace teskal::test {

class TestAuthProfile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knownProfileShowsAtOnce() {
        AuthBench bench;
        bench.keep(QStringLiteral("t"), QStringLiteral("r1"), 1000);
        bench.keepProfile(QStringLiteral("ada"));
        bench.userInfoReply = RawReply().pause();
        Auth& auth = bench.create();
        QVERIFY(auth.isLoading());
        QVERIFY(waitUntil([&] { return auth.isSignedIn(); }));
        QCOMPARE(auth.profile()->displayName(), QStringLiteral("You"));
        QVERIFY(bench.waitForRequests("userinfo", 1));
        QVERIFY(auth.isLoading());
        // A slow provider keeps nobody from working.
        QCOMPARE(bench.askForToken().result(), QStringLiteral("t"));
    }

    void nothingStored() {
        AuthBench bench;
        bench.keepProfile(QStringLiteral("ada"));
        Auth& auth = bench.begin();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(!auth.profile());
        QVERIFY(bench.server.requests().isEmpty());
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
        QFETCH(QByteArray, tokens);
        QFETCH(QByteArray, profile);
        QFETCH(bool, signedIn);
        AuthBench bench;
        bench.keychain.items = {{QStringLiteral("tokens"), tokens}, {QStringLiteral("profile"), profile}};
        Auth& auth = bench.create();
        QVERIFY(!auth.profile()); // what is damaged is not shown, not even for a moment
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        QCOMPARE(auth.isSignedIn(), signedIn);
        if (!signedIn)
            QCOMPARE(bench.keychain.items.value(QStringLiteral("tokens")), tokens);
    }

    void userInfo_data() {
        // sub: afterwards; empty when signed out
        const auto row = columns<RawReply, QString>("reply", "sub");
        const auto ok = [](const QByteArray& body) { return RawReply::complete(200, body); };
        const QString known = QStringLiteral("known");
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
        QFETCH(RawReply, reply);
        QFETCH(QString, sub);
        AuthBench bench;
        bench.keep(QStringLiteral("t"), QStringLiteral("r1"), 1000);
        bench.keepProfile(QStringLiteral("known"));
        bench.userInfoReply = reply;
        Auth& auth = bench.begin();
        QCOMPARE(auth.profile() ? auth.profile()->sub : QString(), sub);
        QCOMPARE(auth.isSignedIn(), !sub.isEmpty());
        QVERIFY(bench.settle());
        QCOMPARE(bench.keychain.items.value(QStringLiteral("profile")).contains(sub.toUtf8()), true);
        QCOMPARE(bench.keychain.items.isEmpty(), sub.isEmpty());
    }

    void unauthorizedOnceRenewsAndAsksAgain() {
        AuthBench bench;
        bench.keep(QStringLiteral("t"), QStringLiteral("r1"), 1000);
        bench.server.enqueue(RawReply::complete(401, ""));
        Auth& auth = bench.begin();
        QCOMPARE(auth.profile()->sub, QStringLiteral("ada"));
        QCOMPARE(bench.requests("token"), 1);
        QCOMPARE(bench.requests("userinfo"), 2);
        QCOMPARE(bench.server.requests().first().header("Authorization"), QByteArray("Bearer t"));
        QCOMPARE(bench.server.requests().last().header("Authorization"), QByteArray("Bearer new"));
    }

    void signOutWhileAskingStays() {
        AuthBench bench;
        bench.keep(QStringLiteral("t"), QStringLiteral("r1"), 1000);
        Auth& auth = bench.begin();
        bench.userInfoReply = held(userInfoReplyFor("ghost"));
        const auto done = auth.refreshProfile();
        QVERIFY(bench.waitForRequests("userinfo", 2));
        auth.signOut();
        bench.server.proceed();
        QVERIFY(waitUntil([&] { return done.isDone(); }));
        QVERIFY(bench.settle());
        QVERIFY(!auth.profile());
        QVERIFY(bench.keychain.items.isEmpty());
    }

    void signalsOnlyOnChange() {
        AuthBench bench;
        bench.keep(QStringLiteral("t"), QStringLiteral("r1"), 1000);
        Auth& auth = bench.begin();
        QSignalSpy profile(&auth, &Auth::profileChanged);
        QSignalSpy signedIn(&auth, &Auth::isSignedInChanged);
        const auto same = auth.refreshProfile();
        QVERIFY(waitUntil([&] { return same.isDone(); }));
        QCOMPARE(profile.count(), 0);
        bench.userInfoReply = RawReply::complete(200, R"({"sub":"ada","name":"Countess"})");
        const auto other = auth.refreshProfile();
        QVERIFY(waitUntil([&] { return other.isDone(); }));
        QCOMPARE(profile.count(), 1);
        QCOMPARE(signedIn.count(), 0);
        bool consistent = false;
        connect(&auth, &Auth::profileChanged, this,
                [&] { consistent = !auth.isSignedIn() && !auth.profile(); });
        auth.clear();
        QVERIFY(consistent);
        auth.clear();
        QCOMPARE(profile.count(), 2);
        QCOMPARE(signedIn.count(), 1);
    }

    void revocation_data() {
        const auto row = columns<bool>("refreshable");
        row("with refresh token", true);
        row("without", false);
    }
    void revocation() {
        QFETCH(bool, refreshable);
        AuthBench bench;
        bench.keep(QStringLiteral("t"), refreshable ? std::optional(QStringLiteral("r1")) : std::nullopt,
                   1000);
        Auth& auth = bench.begin();
        auth.signOut();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(bench.settle());
        if (refreshable) {
            QVERIFY(bench.waitForRequests("revoke", 1));
            const auto form = bench.lastForm("revoke");
            QCOMPARE(form.value(QStringLiteral("token")), QStringLiteral("r1"));
            QCOMPARE(form.value(QStringLiteral("token_type_hint")), QStringLiteral("refresh_token"));
            QCOMPARE(form.value(QStringLiteral("client_id")),
                     QStringLiteral("dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"));
        } else {
            // A request after it on the same connection pool has arrived: the revocation would have, too.
            bench.keep(QStringLiteral("t"), std::nullopt, 1000);
            bench.begin();
            QCOMPARE(bench.requests("revoke"), 0);
        }
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthProfile)
#include "TestAuthProfile.moc"
