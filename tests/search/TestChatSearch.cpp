#include "ByteSearch.h"
#include "ChatSearch.h"
#include "ChatStore.h"
#include "FoldedText.h"
#include "ManualClock.h"
#include "WaitUntil.h"

#include <QLocale>
#include <QTemporaryDir>
#include <QTest>

#include <random>

using namespace teskal;
using namespace teskal::test;

namespace {

/// A store with chats of one message each.
struct Library {
    QTemporaryDir folder;
    ManualClock clock;
    ChatStore store{folder.path(), clock};
    ChatSearch search{store, clock};

    Library() { store.claim(QStringLiteral("account1")); }

    QString add(const QString& title, const QString& text) {
        const QString id = store.create(title);
        store.update(id, ChatStore::Touch::No, ChatStore::Save::No, [&text](Chat& chat) {
            ChatMessage message;
            message.id = QStringLiteral("m");
            message.content = text;
            chat.messages.append(message);
        });
        return id;
    }

    void grow(const QString& chat, const QString& text) {
        store.updateMessage(chat, QStringLiteral("m"), ChatStore::Touch::No, ChatStore::Save::No,
                            [&text](ChatMessage& message) { message.content += text; });
    }

    /// The titles that hold the query, newest chat first.
    QStringList look(const QString& query) {
        search.search(query);
        return found();
    }
    QStringList found() {
        clock.advance(std::chrono::milliseconds(300));
        if (!waitUntil([this] { return search.isComplete(); }))
            return {QStringLiteral("the search does not end")};
        QStringList titles;
        for (int row = 0; row < store.count(); ++row)
            if (search.isFound(store.at(row).id))
                titles.append(store.at(row).title);
        return titles;
    }
};

} // namespace

class TestChatSearch final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void folding_data();
    void folding();
    void bytesAreFoundWhereverTheyAre();
    void titlesAndMessages();
    void followsEdits();
    void chatsComeAndGo();
    void typingOvertakesTheSearch();
};

void TestChatSearch::folding_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("query");
    QTest::addColumn<bool>("found");
    const auto row = [](const char* name, const QString& text, const QString& query, bool found) {
        QTest::newRow(name) << text << query << found;
    };
    row("case", QStringLiteral("Die STRASSE"), QStringLiteral("straSSe"), true);
    row("composed and not", QStringLiteral("cafe\u0301"), QStringLiteral("CAF\u00c9"), true);
    row("accents count", QStringLiteral("café"), QStringLiteral("cafe"), false);
    row("cyrillic", QStringLiteral("Привет, МИР"), QStringLiteral("мир"), true);
    row("beyond the basic plane", QStringLiteral("a \U00010400 b"), QStringLiteral("\U00010428"), true);
    row("lines far apart", QStringLiteral("one  \r\n\n\n  two\n"), QStringLiteral("one\n\ntwo"), true);
    row("not one line", QStringLiteral("one\n  two"), QStringLiteral("one two"), false);
    row("indented", QStringLiteral("\n    one  two"), QStringLiteral("one  two"), true);
    row("half a pair", QStringLiteral("a😀"), QString(QChar(0xD83D)), false);
}

void TestChatSearch::folding() {
    QFETCH(QString, text);
    QFETCH(QString, query);
    QFETCH(bool, found);
    QCOMPARE(containsBytes(foldedText(text), foldedText(query)), found);
}

void TestChatSearch::bytesAreFoundWhereverTheyAre() {
    std::mt19937 random(7);
    const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
    for (int round = 0; round < 20'000; ++round) {
        // Few different bytes, so that parts are nearly there often; lead and continuation bytes, too.
        const QByteArray alphabet("ab\xd0\x90", 4);
        QByteArray text;
        for (int size = below(150); size > 0; --size)
            text += alphabet[below(4)];
        QByteArray part;
        for (int size = below(7); size > 0; --size)
            part += alphabet[below(4)];
        QCOMPARE(containsBytes(text, part), text.contains(part));
    }
}

void TestChatSearch::titlesAndMessages() {
    Library library;
    library.add(QStringLiteral("Bread"), QStringLiteral("Flour, water, salt"));
    library.add(QStringLiteral("Salted caramel"), QStringLiteral("Sugar"));
    library.add(QStringLiteral("Tea"), QStringLiteral("Leaves"));
    QCOMPARE(library.look(QStringLiteral("SALT")),
             (QStringList{QStringLiteral("Salted caramel"), QStringLiteral("Bread")}));
    QCOMPARE(library.look(QStringLiteral(" salte ")), QStringList{QStringLiteral("Salted caramel")});
    QCOMPARE(library.look(QStringLiteral("alt")).size(), 2);             // wider again
    QCOMPARE(library.look(QStringLiteral("Tea Leaves")), QStringList()); // not across title and message
    library.search.search(QStringLiteral(" \t "));
    QVERIFY(!library.search.isSearching());
}

void TestChatSearch::followsEdits() {
    Library library;
    const QString bread = library.add(QStringLiteral("Bread"), QStringLiteral("Flour"));
    library.add(QStringLiteral("Tea"), QStringLiteral("Leaves"));
    QCOMPARE(library.look(QStringLiteral("rye")), QStringList());
    library.grow(bread, QStringLiteral(" of rye"));
    QCOMPARE(library.found(), QStringList{QStringLiteral("Bread")});
    library.store.updateMessage(bread, QStringLiteral("m"), ChatStore::Touch::No, ChatStore::Save::No,
                                [](ChatMessage& message) { message.content.clear(); });
    QCOMPARE(library.found(), QStringList());
    // A chat that changed while the query did is looked at for the new one.
    QCOMPARE(library.look(QStringLiteral("w")), QStringList());
    library.grow(bread, QStringLiteral("wheat"));
    QCOMPARE(library.look(QStringLiteral("wh")), QStringList{QStringLiteral("Bread")});
}

void TestChatSearch::chatsComeAndGo() {
    Library library;
    const QString first = library.add(QStringLiteral("First salt"), QString());
    QCOMPARE(library.look(QStringLiteral("salt")).size(), 1);
    library.add(QStringLiteral("Second salt"), QString());
    QCOMPARE(library.found().size(), 2);
    library.store.remove(first);
    QCOMPARE(library.found(), QStringList{QStringLiteral("Second salt")});
    library.store.claim(QStringLiteral("account2"));
    library.add(QStringLiteral("Third salt"), QString());
    QCOMPARE(library.found(), QStringList{QStringLiteral("Third salt")});
    library.store.claim(QStringLiteral("account1")); // read from its file while the search is on
    QVERIFY(!library.search.isComplete());
    QCOMPARE(library.found(), QStringList{QStringLiteral("Second salt")});
}

void TestChatSearch::typingOvertakesTheSearch() {
    Library library;
    for (int chat = 0; chat < 300; ++chat)
        library.add(QStringLiteral("Chat %1").arg(chat), QStringLiteral("lorem ipsum ").repeated(500));
    library.search.prepare();
    const QString typed = QStringLiteral("chat 29");
    for (qsizetype length = 1; length <= typed.size(); ++length) {
        library.search.search(typed.left(length));
        QCoreApplication::processEvents(); // between two keys some work is done, never all
    }
    QCOMPARE(library.found().size(), 11);
    for (qsizetype length = typed.size(); length > 5; --length)
        library.search.search(typed.left(length));
    library.search.search(QStringLiteral("chat 299"));
    QCOMPARE(library.found(), QStringList{QStringLiteral("Chat 299")});
}

QTEST_GUILESS_MAIN(TestChatSearch)
#include "TestChatSearch.moc"
