#include "ByteSearch.h"
#include "ChatSearch.h"
#include "ChatStore.h"
#include "Columns.h"
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

    Library() { store.claim(u"account1"_qs); }

    QString add(const QString& title, const QString& text) {
        const QString id = store.create(title);
        store.update(id, ChatStore::Touch::No, ChatStore::Save::No, [&text](Chat& chat) {
            ChatMessage message;
            message.id = u"m"_qs;
            message.content = text;
            chat.messages.append(message);
        });
        return id;
    }

    void grow(const QString& chat, const QString& text) {
        store.updateMessage(chat, u"m"_qs, ChatStore::Touch::No, ChatStore::Save::No,
                            [&text](ChatMessage& message) { message.content += text; });
    }

    /// The titles that hold the query, newest chat first, with ", " between.
    QString look(const QString& query) {
        search.search(query);
        return found();
    }
    QString found() {
        clock.advance(std::chrono::milliseconds(300));
        if (!waitUntil([this] { return search.isComplete(); }))
            return u"the search does not end"_qs;
        QStringList titles;
        for (int row = 0; row < store.count(); ++row)
            if (search.isFound(store.at(row).id))
                titles.append(store.at(row).title);
        return titles.join(u", ");
    }
};

} // namespace

class TestChatSearch final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void folding_data() {
        const auto row = columns<QString, QString, bool>("text", "query", "found");
        row("case", "Die STRASSE", "straSSe", true);
        row("composed and not", "cafe\u0301", "CAF\u00c9", true);
        row("accents count", "café", "cafe", false);
        row("cyrillic", "Привет, МИР", "мир", true);
        row("beyond the basic plane", "a \U00010400 b", "\U00010428", true);
        row("lines far apart", "one  \r\n\n\n  two\n", "one\n\ntwo", true);
        row("not one line", "one\n  two", "one two", false);
        row("indented", "\n    one  two", "one  two", true);
        row("half a pair", "a😀", QString(QChar(0xD83D)), false);
    }
    void folding() {
        FETCH(QString, text, QString, query, bool, found);
        QCOMPARE(ByteSearch(foldedText(query)).isIn(foldedText(text)), found);
    }

    void bytesAreFoundWhereverTheyAre() {
        std::mt19937 random(7);
        const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
        for (int round = 0; round < 20'000; ++round) {
            // Few different bytes, so that parts are nearly there often; lead and continuation bytes, too.
            const QByteArray alphabet("ab\xd0\x90", 4);
            QByteArray text;
            for (int size = below(300); size > 0; --size)
                text += alphabet[below(4)];
            QByteArray part;
            for (int size = below(7); size > 0; --size)
                part += alphabet[below(4)];
            QCOMPARE(ByteSearch(part).isIn(text), text.contains(part));
        }
    }

    void titlesAndMessages() {
        Library library;
        library.add(u"Bread"_qs, u"Flour, water, salt"_qs);
        library.add(u"Salted caramel"_qs, u"Sugar"_qs);
        library.add(u"Tea"_qs, u"Leaves"_qs);
        QCOMPARE(library.look(u"SALT"_qs), u"Salted caramel, Bread"_qs);
        QCOMPARE(library.look(u" salte "_qs), u"Salted caramel"_qs);
        QCOMPARE(library.look(u"alt"_qs), u"Salted caramel, Bread"_qs); // wider again
        QCOMPARE(library.look(u"Tea Leaves"_qs), QString());            // not across title and message
        library.search.search(u" \t "_qs);
        QVERIFY(!library.search.isSearching());
    }

    void followsEdits() {
        Library library;
        const QString bread = library.add(u"Bread"_qs, u"Flour"_qs);
        library.add(u"Tea"_qs, u"Leaves"_qs);
        QCOMPARE(library.look(u"rye"_qs), QString());
        library.grow(bread, u" of rye"_qs);
        QCOMPARE(library.found(), u"Bread"_qs);
        library.store.updateMessage(bread, u"m"_qs, ChatStore::Touch::No, ChatStore::Save::No,
                                    [](ChatMessage& message) { message.content.clear(); });
        QCOMPARE(library.found(), QString());
        // A chat that changed while the query did is looked at for the new one.
        QCOMPARE(library.look(u"w"_qs), QString());
        library.grow(bread, u"wheat"_qs);
        QCOMPARE(library.look(u"wh"_qs), u"Bread"_qs);
    }

    void chatsComeAndGo() {
        Library library;
        const QString first = library.add(u"First salt"_qs, QString());
        QCOMPARE(library.look(u"salt"_qs), u"First salt"_qs);
        library.add(u"Second salt"_qs, QString());
        QCOMPARE(library.found(), u"Second salt, First salt"_qs);
        library.store.remove(first);
        QCOMPARE(library.found(), u"Second salt"_qs);
        library.store.claim(u"account2"_qs);
        library.add(u"Third salt"_qs, QString());
        QCOMPARE(library.found(), u"Third salt"_qs);
        library.store.claim(u"account1"_qs); // read from its file while the search is on
        QVERIFY(!library.search.isComplete());
        QCOMPARE(library.found(), u"Second salt"_qs);
    }

    void typingOvertakesTheSearch() {
        Library library;
        for (int chat = 0; chat < 300; ++chat)
            library.add(u"Chat %1"_qs.arg(chat), u"lorem ipsum "_qs.repeated(500));
        library.search.prepare();
        const QString typed = u"chat 29"_qs;
        for (qsizetype length = 1; length <= typed.size(); ++length) {
            library.search.search(typed.left(length));
            QCoreApplication::processEvents(); // between two keys some work is done, never all
        }
        QCOMPARE(library.found().split(u", "_qs).size(), 11);
        for (qsizetype length = typed.size(); length > 5; --length)
            library.search.search(typed.left(length));
        library.search.search(u"chat 299"_qs);
        QCOMPARE(library.found(), u"Chat 299"_qs);
    }
};

QTEST_GUILESS_MAIN(TestChatSearch)
#include "TestChatSearch.moc"
