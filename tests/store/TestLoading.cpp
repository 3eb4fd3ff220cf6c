#include "StoreFixture.h"

#include <QDir>
#include <QTest>

#include <functional>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

const QString account = QStringLiteral("account1");
const QString accountFile = QStringLiteral("account1.json");
const QString other = QStringLiteral("account2");

const QByteArray chatA =
    R"({"id":"a","title":"a","createdAt":1,"updatedAt":9,"messages":[{"id":"m","role":"user","content":"hi"}]})";
const QByteArray chatB = R"({"id":"b","title":"b","createdAt":1,"updatedAt":5,"messages":[]})";
const QByteArray content = "[" + chatA + "," + chatB + "]";

using Action = std::function<void(StoreFixture&)>;

/// The file's titles, newest first, or why it cannot be read.
QString titlesIn(const QByteArray& file) {
    QStringList titles;
    for (const Chat& chat : decodeChats(file))
        titles.append(chat.title);
    return titles.join(QLatin1Char(' '));
}

Chat chatOf(const char* id, double updatedAt) {
    Chat chat;
    chat.id = QLatin1String(id);
    chat.title = QStringLiteral("from elsewhere");
    chat.createdAt = 1;
    chat.updatedAt = updatedAt;
    return chat;
}

} // namespace

Q_DECLARE_METATYPE(Action)

/// What happens while the chats of an account are still on their way from the disk: nothing is lost, and
/// nothing comes back that was deleted.
class TestLoading final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void chatsJoinTheList();
    void actsOnTheWholeList_data();
    void actsOnTheWholeList();
    void leftInTheMiddle_data();
    void leftInTheMiddle();
    void damagedFileIsKept();
    void largeFileIsAbandoned();
};

void TestLoading::chatsJoinTheList() {
    StoreFixture fixture;
    fixture.putFile(accountFile, content);
    fixture.clock.advance(7ms);
    fixture.store.holdReading(true);
    fixture.store.claim(account);
    QVERIFY(fixture.store.isLoading());
    QCOMPARE(fixture.store.count(), 0);
    const QString made = fixture.store.create(QStringLiteral("new"));
    const Chat* const chat = fixture.store.chat(made);
    fixture.pass(1h); // the save waits for what it would overwrite
    QCOMPARE(fixture.fileContent(accountFile), content);

    fixture.store.holdReading(false);
    QVERIFY(waitUntil([&] { return !fixture.store.isLoading() && !fixture.store.isSaving(); }));
    QCOMPARE(fixture.store.chat(made), chat); // in its place: who streams into it is not disturbed
    QCOMPARE(fixture.takeSignals(), (QStringList{QStringLiteral("reset"), QStringLiteral("inserted 0"),
                                                 QStringLiteral("edited"), QStringLiteral("loaded")}));
    QCOMPARE(fixture.titles().join(QString()), QStringLiteral("newab"));
    for (const char* id : {"a", "b"})
        QVERIFY(fixture.store.rowOf(QLatin1String(id)) > 0);
    QCOMPARE(titlesIn(fixture.fileContent(accountFile)), QStringLiteral("new a b"));

    StoreFixture without;
    without.store.claim(account);
    QVERIFY(!without.store.isLoading());
}

void TestLoading::actsOnTheWholeList_data() {
    QTest::addColumn<Action>("act");
    QTest::addColumn<QString>("titles");
    const auto row = [](const char* name, const Action& act, const char* titles) {
        QTest::newRow(name) << act << QString::fromLatin1(titles);
    };
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    row(
        "rename", [b](StoreFixture& f) { f.store.rename(b, QStringLiteral("B")); }, "B a");
    row(
        "change of a message",
        [a](StoreFixture& f) {
            f.store.updateMessage(a, QStringLiteral("m"), Touch::No, Save::Yes,
                                  [](ChatMessage& message) { message.content.clear(); });
        },
        "a b");
    row(
        "remove", [a](StoreFixture& f) { f.store.remove(a); }, "b");
    row(
        "remove all", [](StoreFixture& f) { f.store.removeAll(); }, "");
    row(
        "removed elsewhere", [b](StoreFixture& f) { f.store.removeQuiet(b); }, "a");
    row(
        "changed elsewhere", [](StoreFixture& f) { f.store.upsertQuiet(chatOf("b", 50)); },
        "from elsewhere a");
    row(
        "new, asked to be written",
        [](StoreFixture& f) {
            f.store.create(QStringLiteral("new"));
            const Completion<bool> written = f.store.written();
            f.store.holdReading(false);
            QVERIFY(waitUntil([&written] { return written.isDone(); }));
        },
        "new a b");
    row(
        "new, the application ends",
        [](StoreFixture& f) {
            f.store.create(QStringLiteral("new"));
            f.store.flush();
        },
        "new a b");
}

void TestLoading::actsOnTheWholeList() {
    QFETCH(const Action, act);
    for (const bool held : {false, true}) {
        StoreFixture fixture;
        fixture.putFile(accountFile, content);
        fixture.clock.advance(1s);
        fixture.store.holdReading(held);
        fixture.store.claim(account);
        act(fixture);
        fixture.store.flush();
        QTEST(titlesIn(fixture.fileContent(accountFile)), "titles");
        QTEST(fixture.titles().join(QLatin1Char(' ')), "titles");
        QCOMPARE(fixture.takeSignals().count(QStringLiteral("loaded")), 1);
    }
}

void TestLoading::leftInTheMiddle_data() {
    QTest::addColumn<Action>("leave");
    QTest::addColumn<QString>("titles"); // none: the file is not touched
    const auto row = [](const char* name, const Action& leave, const char* titles = "") {
        QTest::newRow(name) << leave << QString::fromLatin1(titles);
    };
    row("the application ends", [](StoreFixture& f) { f.store.flush(); });
    row("signed out", [](StoreFixture& f) { f.store.claim(std::nullopt); });
    row("another account", [](StoreFixture& f) { f.store.claim(other); });
    row("there and back", [](StoreFixture& f) {
        f.store.claim(other);
        f.store.claim(account);
    });
    row("what was under way is stopped", [](StoreFixture& f) {
        f.store.stopPending();
        f.store.claim(std::nullopt);
    });
    row("with a private chat", [](StoreFixture& f) {
        f.store.setPrivateChat(chatOf("secret", 20));
        f.store.rename(QStringLiteral("secret"), QStringLiteral("hidden"));
        f.store.claim(std::nullopt);
    });
    row(
        "with a new chat",
        [](StoreFixture& f) {
            f.store.create(QStringLiteral("new"));
            f.store.claim(other);
        },
        "new a b");
    row(
        "with a streamed word",
        [](StoreFixture& f) {
            const QString id = f.store.create(QStringLiteral("new"));
            f.pass(1s);
            f.store.update(id, Touch::No, Save::No,
                           [](Chat& chat) { chat.title = QStringLiteral("streamed"); });
            f.store.claim(std::nullopt);
        },
        "streamed a b");
}

void TestLoading::leftInTheMiddle() {
    QFETCH(const Action, leave);
    QFETCH(const QString, titles);
    for (const bool held : {false, true}) {
        StoreFixture fixture;
        fixture.putFile(accountFile, content);
        fixture.clock.advance(1s);
        fixture.store.holdReading(held);
        fixture.store.claim(account);
        leave(fixture);
        const bool isBack = fixture.store.owner() == account;
        fixture.store.finishLoading();
        QCOMPARE(fixture.store.count(), isBack ? 2 : 0);
        if (titles.isEmpty())
            QCOMPARE(fixture.fileContent(accountFile), content);
        else
            QCOMPARE(titlesIn(fixture.fileContent(accountFile)), titles);
        QVERIFY(!QFile::exists(fixture.path(QStringLiteral("account2.json"))));
    }
}

void TestLoading::damagedFileIsKept() {
    StoreFixture fixture;
    fixture.putFile(accountFile, "[{\"half\":");
    fixture.store.claim(account);
    fixture.store.create(QStringLiteral("new"));
    fixture.store.flush();
    const QStringList kept = QDir(fixture.path(QString())).entryList({QStringLiteral("*.damaged-*")});
    QCOMPARE(kept.size(), 1);
    QCOMPARE(fixture.fileContent(kept.first()), "[{\"half\":");
    QCOMPARE(titlesIn(fixture.fileContent(accountFile)), QStringLiteral("new"));
}

void TestLoading::largeFileIsAbandoned() {
    QByteArray large = "[" + chatA;
    for (int i = 0; i < 200; ++i)
        large += R"(,{"id":")" + QByteArray::number(i) + R"(","title":")" + QByteArray(100'000, 't') +
                 R"(","createdAt":1,"updatedAt":2,"messages":[]})";
    large += "]";
    StoreFixture fixture;
    fixture.putFile(accountFile, large);
    for (int round = 0; round < 5; ++round) {
        fixture.store.claim(account);
        fixture.store.claim(other);
    }
    QCOMPARE(fixture.store.count(), 0);
    fixture.claim(account);
    QCOMPARE(fixture.store.count(), 201);
    QCOMPARE(fixture.fileContent(accountFile), large);
}

QTEST_GUILESS_MAIN(TestLoading)
#include "TestLoading.moc"
