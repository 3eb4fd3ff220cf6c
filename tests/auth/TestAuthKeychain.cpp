#include "AuthBench.h"
#include "Columns.h"
#include "FileKeychain.h"
#include "KeychainChoice.h"
#include "SystemKeychain.h"
#include "TestFiles.h"

namespace teskal::test {

namespace {

const QString tokensName = u"tokens"_qs;
const QString profileName = u"profile"_qs;

void write(Keychain& keychain, const QString& account, const QByteArray& bytes) {
    waitFor([&](std::stop_token token) { return keychain.write(account, bytes, token); });
}

void remove(Keychain& keychain, const QString& account) {
    waitFor([&](std::stop_token token) { return keychain.remove(account, token); });
}

Pending<std::optional<QByteArray>> reading(Keychain& keychain, const QString& account) {
    return start([&keychain, account](std::stop_token token) { return keychain.read(account, token); });
}

} // namespace

class TestAuthKeychain : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filePersistsPrivately() {
        QTemporaryDir root;
        const QString folder = root.filePath(u"secrets"_qs);
        const QString path = folder + u"/session.json"_qs;
        const QByteArray binary("\x00\xff\"\n", 4);
        {
            FileKeychain keychain(path);
            QVERIFY(!reading(keychain, tokensName).result());
            remove(keychain, tokensName);
            QVERIFY(!QFile::exists(path)); // looking leaves no trace
            write(keychain, tokensName, binary);
            write(keychain, profileName, "p");
            write(keychain, profileName, "p2");
        }
        constexpr auto mask = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                              QFile::WriteOther | QFile::ExeOther;
        QVERIFY(!(QFile::permissions(path) & (mask | QFile::ExeOwner)));
        QVERIFY(!(QFile::permissions(folder) & mask));
        FileKeychain again(path);
        QCOMPARE(reading(again, tokensName).result().value_or("none"), binary);
        QCOMPARE(reading(again, profileName).result().value_or("none"), "p2");
        remove(again, tokensName);
        QVERIFY(!reading(again, tokensName).result());
        QCOMPARE(reading(again, profileName).result().value_or("none"), "p2");
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 1); // no temporary file stays
    }

    void fileThatCannotBeWrittenFails() {
        QTemporaryDir root;
        QFile blocker(root.filePath(u"folder"_qs));
        QVERIFY(blocker.open(QFile::WriteOnly));
        FileKeychain keychain(root.filePath(u"folder/session.json"_qs));
        QVERIFY_THROWS_EXCEPTION(KeychainError, write(keychain, tokensName, "x"));
    }

    void damagedFileIsKept_data() {
        rows<QByteArray>("content", {{"truncated", "{\"tokens\":\"YQ"},
                                     {"empty", ""},
                                     {"array", "[]"},
                                     {"not base64", R"({"tokens":"***"})"},
                                     {"number", R"({"tokens":5})"},
                                     {"nested", QByteArray(10'000, '[')}});
    }
    void damagedFileIsKept() {
        QFETCH(const QByteArray, content);
        QTemporaryDir root;
        const QString path = root.filePath(u"session.json"_qs);
        writeFile(path, content);
        FileKeychain keychain(path);
        QVERIFY(reading(keychain, tokensName).error<KeychainError>());
        QCOMPARE(contentOf(path), content); // reading changes nothing
        write(keychain, tokensName, "new");
        QCOMPARE(reading(keychain, tokensName).result().value_or("none"), "new");
        const auto kept = QDir(root.path()).entryList({u"session.json.damaged-*"_qs});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(contentOf(root.filePath(kept.first())), content);
    }

    void sessionSurvivesRestartThroughTheFile() {
        QTemporaryDir root;
        AuthBench bench;
        FileKeychain keychain(root.filePath(u"session.json"_qs));
        {
            Auth auth(bench.config, bench.http, keychain, bench.page, bench.clock);
            const auto ended = auth.signIn();
            bench.answerPage();
            QVERIFY(ends(ended) && ends(auth.stored()));
        }
        Auth auth(bench.config, bench.http, keychain, bench.page, bench.clock);
        QVERIFY(auth.isSignedIn()); // at once, before the provider answers
        QCOMPARE(auth.profile()->displayName(), u"Name of ada"_qs);
        auth.signOut();
        QVERIFY(waitUntil([&] { return !auth.isLoading(); }));
        Auth last(bench.config, bench.http, keychain, bench.page, bench.clock);
        QVERIFY(!last.isSignedIn());
    }

    void lockedKeyringLosesNothing() {
        AuthBench bench;
        bench.keep();
        bench.keepProfile(u"ada"_qs);
        bench.keychain.locked = true;
        Auth& auth = bench.begin();
        QVERIFY(!auth.isSignedIn());
        QVERIFY(bench.askForToken().error<AuthError>());
        // Unlocked by now: what only looks like the end of a session must not empty it.
        bench.keychain.locked = false;
        QVERIFY(ends(auth.refreshProfile()));
        auth.clear();
        auth.signOut();
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.changes.isEmpty());
        QVERIFY(bench.begin().isSignedIn());
    }

    void laterClearWins() {
        AuthBench bench;
        Auth& auth = bench.beginSignedIn();
        QVERIFY(bench.settle());
        bench.clock.advance(std::chrono::hours(1));
        bench.keychain.close();
        bench.askForToken().result(); // the write of the renewed tokens hangs
        auth.signOut();
        QVERIFY(!auth.stored().isDone());
        bench.keychain.open();
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.items.isEmpty());
    }

    void neverTwoSessionsInOneKeyring() {
        AuthBench bench;
        bench.keep(u"ada-t"_qs, u"ada-r"_qs, 1000);
        bench.keepProfile(u"ada"_qs);
        bench.begin();
        QVERIFY(bench.settle());
        bench.keychain.removalsFail = true;
        bench.tokenReply = tokenReplyWith("bob-t", "bob-r");
        bench.userInfoReply = userInfoReplyFor("bob");
        bench.signIn();
        QVERIFY(bench.auth().isSignedIn()); // memory has the word while this process runs
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.items[tokensName].contains("ada-t"));
        QVERIFY(bench.keychain.items[profileName].contains("ada"));
        // As soon as the keyring works, the next change makes it good.
        bench.keychain.removalsFail = false;
        bench.clock.advance(std::chrono::hours(2));
        bench.tokenReply = tokenReplyWith("bob-t2", "bob-r2");
        bench.askForToken().result();
        QVERIFY(bench.settle());
        QVERIFY(bench.keychain.items[tokensName].contains("bob-t2"));
        QVERIFY(!bench.keychain.items.contains(profileName));
    }

    void choice() {
        QTemporaryDir root;
        const QString path = root.filePath(u"session.json"_qs);
        const QString service = keychainService(u"-127.0.0.1-1"_qs);
        QCOMPARE(service, u"app.teskal.mac.auth-127.0.0.1-1"_qs);
        QTest::ignoreMessage(
            QtWarningMsg,
            "[Teskal] there is no keyring: the sign-in is kept in a file that only you can read");
        const auto file = chooseKeychain(service, path, false);
        write(*file, tokensName, "x");
        QVERIFY(QFile::exists(path));
        const auto system = chooseKeychain(service, path, true);
        QVERIFY(dynamic_cast<SystemKeychain*>(system.get()));
    }

    void systemKeyringThatIsNotThereIsAnError() {
        if (isKeyringPresent())
            QSKIP("this machine has a keyring, which a test leaves alone");
        SystemKeychain keychain(u"app.teskal.mac.auth-test"_qs);
        QVERIFY(reading(keychain, tokensName).error<KeychainError>());
        QVERIFY_THROWS_EXCEPTION(KeychainError, write(keychain, tokensName, "x"));
        QVERIFY_THROWS_EXCEPTION(KeychainError, remove(keychain, tokensName));
        auto stopped = reading(keychain, tokensName);
        stopped.destroyScope();
        runQueued();
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthKeychain)
#include "TestAuthKeychain.moc"
