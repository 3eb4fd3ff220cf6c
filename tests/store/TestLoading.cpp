#include "Columns.h"
#include "StoreFixture.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString other = u"account2"_qs;

const QByteArray chatA =
    R"({"id":"a","title":"a","createdAt":1,"updatedAt":9,"messages":[{"id":"m","role":"user","content":"hi"}]})";
const QByteArray chatB = R"({"id":"b","title":"b","createdAt":1,"updatedAt":5,"messages":[]})";
const QByteArray content = "[" + chatA + "," + chatB + "]";
/// More than what is read of the newest chats: the chat that follows it is the last of them.
const QByteArray gap(1'100'000, ' ');
/// The chat that stands twice is the newest; what comes of its older self would tell that it was read again.
const QByteArray contentInParts = "[" + gap + chatA + "," +
                                  QByteArray(chatA).replace("\"a\",\"created", "\"old a\",\"created") + "," +
                                  chatB + "]";

/// When something happens to an account whose chats are not all there.
enum class Moment {
    Held,       ///< before they are begun to be read
    Begun,      ///< at any time while they are read
    NewestThere ///< between the newest and the rest
};
constexpr Moment moments[] = {Moment::Held, Moment::Begun, Moment::NewestThere};

using Action = std::function<void(StoreFixture&)>;

const QByteArray& contentFor(Moment moment) {
    return moment == Moment::NewestThere ? contentInParts : content;
}

/// Claims the account of a file and acts on it at a moment of its loading.
void actAt(Moment moment, StoreFixture& fixture, const QByteArray& file, const Action& act) {
    fixture.putFile(accountFile, file);
    fixture.clock.advance(1s);
    fixture.store.holdReading(moment == Moment::Held);
    bool hasActed = moment != Moment::NewestThere;
    QObject context;
    QObject::connect(&fixture.store, &ChatStore::newestLoaded, &context, [&] {
        if (std::exchange(hasActed, true))
            return;
        QVERIFY(fixture.store.isLoading() && fixture.store.count() > 0);
        act(fixture);
    });
    fixture.store.claim(account);
    if (hasActed)
        act(fixture);
    QVERIFY(waitUntil([&] { return hasActed; }));
}

/// The file's titles, newest first, or why it cannot be read.
QString titlesIn(const QByteArray& file) {
    QStringList titles;
    for (const Chat& chat : decodeChats(file))
        titles.append(chat.title);
    return titles.join(u' ');
}

Chat chatOf(const char* id, double updatedAt) {
    return {QString::fromLatin1(id), u"from elsewhere"_qs, 1, updatedAt, {}};
}

} // namespace

Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(Moment)

/// What happens while the chats of an account are still on their way from the disk: nothing is lost, and
/// nothing comes back that was deleted.
class TestLoading final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void chatsJoinTheList() {
        StoreFixture fixture;
        fixture.putFile(accountFile, content);
        fixture.clock.advance(7ms);
        fixture.store.holdReading(true);
        fixture.store.claim(account);
        QVERIFY(fixture.store.isLoading());
        QCOMPARE(fixture.store.count(), 0);
        const QString made = fixture.store.create(u"new"_qs);
        const Chat* const chat = fixture.store.chat(made);
        fixture.pass(1h); // the save waits for what it would overwrite
        QCOMPARE(fixture.fileContent(), content);

        fixture.store.holdReading(false);
        QVERIFY(waitUntil([&] { return !fixture.store.isLoading() && !fixture.store.isSaving(); }));
        QCOMPARE(fixture.store.chat(made), chat); // in its place: who streams into it is not disturbed
        QCOMPARE(fixture.takeSignals(), u"reset, inserted 0, edited, loaded"_qs);
        QCOMPARE(fixture.titles(), u"new a b"_qs);
        for (const char* id : {"a", "b"})
            QVERIFY(fixture.store.rowOf(QLatin1String(id)) > 0);
        QCOMPARE(titlesIn(fixture.fileContent()), u"new a b"_qs);

        StoreFixture without;
        without.store.claim(account);
        QVERIFY(!without.store.isLoading());
    }

    void actsOnTheWholeList_data() {
        const auto row = columns<QString, Action>("titles", "act");
        const QString a = u"a"_qs;
        const QString b = u"b"_qs;
        row("rename", "B a", [b](StoreFixture& f) { f.store.rename(b, u"B"_qs); });
        row("rename the newest", "A b", [a](StoreFixture& f) { f.store.rename(a, u"A"_qs); });
        row("change of a message", "a b", [a](StoreFixture& f) {
            f.store.updateMessage(a, u"m"_qs, Touch::No, Save::Yes,
                                  [](ChatMessage& message) { message.content.clear(); });
        });
        row("remove", "b", [a](StoreFixture& f) { f.store.remove(a); });
        row("remove all", "", [](StoreFixture& f) { f.store.removeAll(); });
        row("removed elsewhere", "a", [b](StoreFixture& f) { f.store.removeQuiet(b); });
        row("changed elsewhere", "from elsewhere a",
            [](StoreFixture& f) { f.store.upsertQuiet(chatOf("b", 50)); });
        row("new, asked to be written", "new a b", [](StoreFixture& f) {
            f.store.create(u"new"_qs);
            const Completion<bool> written = f.store.written();
            f.store.holdReading(false);
            QVERIFY(waitUntil([&written] { return written.isDone(); }));
        });
        row("new, the application ends", "new a b", [](StoreFixture& f) {
            f.store.create(u"new"_qs);
            f.store.flush();
        });
    }
    void actsOnTheWholeList() {
        QFETCH(const Action, act);
        for (const Moment moment : moments) {
            StoreFixture fixture;
            actAt(moment, fixture, contentFor(moment), act);
            fixture.store.flush();
            QTEST(titlesIn(fixture.fileContent()), "titles");
            QTEST(fixture.titles(), "titles");
            QCOMPARE(fixture.takeSignals().count(u"loaded"_qs), 1);
        }
    }

    void leftInTheMiddle_data() {
        // titles: none when the file is not touched
        const auto row = columns<QString, Action>("titles", "leave");
        row("the application ends", "", [](StoreFixture& f) { f.store.flush(); });
        row("signed out", "", [](StoreFixture& f) { f.store.claim(std::nullopt); });
        row("another account", "", [](StoreFixture& f) { f.store.claim(other); });
        row("there and back", "", [](StoreFixture& f) {
            f.store.claim(other);
            f.store.claim(account);
        });
        row("what was under way is stopped", "", [](StoreFixture& f) {
            f.store.stopPending();
            f.store.claim(std::nullopt);
        });
        row("with a private chat", "", [](StoreFixture& f) {
            f.store.setPrivateChat(chatOf("secret", 20));
            f.store.rename(u"secret"_qs, u"hidden"_qs);
            f.store.claim(std::nullopt);
        });
        row("with a new chat", "new a b", [](StoreFixture& f) {
            f.store.create(u"new"_qs);
            f.store.claim(other);
        });
        row("with a streamed word", "streamed a b", [](StoreFixture& f) {
            const QString id = f.store.create(u"new"_qs);
            f.pass(1s);
            retitle(f.store, id, u"streamed"_qs, Save::No);
            f.store.claim(std::nullopt);
        });
    }
    void leftInTheMiddle() {
        FETCH(Action, leave, QString, titles);
        for (const Moment moment : moments) {
            StoreFixture fixture;
            actAt(moment, fixture, contentFor(moment), leave);
            const bool isBack = fixture.store.owner() == account;
            fixture.store.finishLoading();
            QCOMPARE(fixture.store.count(), isBack ? 2 : 0);
            if (titles.isEmpty())
                QCOMPARE(fixture.fileContent(), contentFor(moment));
            else
                QCOMPARE(titlesIn(fixture.fileContent()), titles);
            QVERIFY(!QFile::exists(fixture.path(u"account2.json"_qs)));
        }
    }

    void damagedFileIsKept_data() {
        const auto row = columns<Moment, QByteArray, QString>("moment", "damaged", "titles");
        row("at its beginning", Moment::Begun, "[{\"half\":", "new");
        // Of what was shown already, the chat that was changed has become the user's own.
        row("behind the newest", Moment::NewestThere,
            "[" + chatA + "," + gap + chatB + ",{\"half\":", "new changed");
    }
    void damagedFileIsKept() {
        FETCH(Moment, moment, QByteArray, damaged, QString, titles);
        StoreFixture fixture;
        actAt(moment, fixture, damaged, [](StoreFixture& f) {
            retitle(f.store, u"b"_qs, u"changed"_qs);
            f.store.create(u"new"_qs);
        });
        fixture.store.flush();
        const QStringList kept = fixture.files(u"*.damaged-*"_qs);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(fixture.fileContent(kept.first()), damaged);
        QCOMPARE(titlesIn(fixture.fileContent()), titles);
        QCOMPARE(fixture.titles(), titles);
    }

    void largeFileIsAbandoned() {
        QByteArray large = "[" + chatA;
        for (int i = 0; i < 200; ++i)
            large += "," + QByteArray(chatB).replace("\"b\"", '"' + QByteArray::number(i) +
                                                                  QByteArray(50'000, 't') + '"');
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
        QCOMPARE(fixture.fileContent(), large);
    }
};

QTEST_GUILESS_MAIN(TestLoading)
#include "TestLoading.moc"
