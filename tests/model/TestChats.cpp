#include "Chat.h"
#include "Columns.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "RecordCodec.h"

#include <random>
#include <stdexcept>

using namespace teskal::test;

namespace {

QByteArray chatWith(const QByteArray& escapedContent) {
    return R"({"id":"c","title":"","createdAt":0,"updatedAt":0,"messages":[{"id":"m","role":"user","content":")" +
           escapedContent + "\"}]}";
}

Chat plainChat(const QString& content) {
    Chat chat;
    chat.id = u"c"_qs;
    chat.messages = {{u"m"_qs, Role::User, content, {}, {}, {}, false, {}, {}}};
    return chat;
}

/// Changes a text in a few places, the same way for the same seed.
class Mutator {
public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    QByteArray mutated(QByteArray text) {
        for (int change = 1 + below(4); change > 0 && !text.isEmpty(); --change) {
            const int at = below(int(text.size()));
            const int what = below(5);
            if (what == 0)
                text[at] = char(random_());
            else if (what == 1)
                text.insert(at, piece());
            else if (what == 2)
                text.remove(at, 1 + below(8));
            else if (what == 3)
                text.replace(at, 1, piece());
            else
                text.insert(at, text.mid(below(int(text.size())), below(200)));
        }
        return text;
    }

private:
    QByteArray piece() {
        static const QList<QByteArray> pieces =
            QByteArrayLiteral(
                "\"~\\~[~]~{~}~,~:~ ~-~1e400~\\ud83d~null~\xED\xA0\x80~\xFF~\0~\n~e~\\u~\xEF\xBB\xBF")
                .split('~');
        return pieces[below(int(pieces.size()))];
    }
    int below(int limit) { return int(random_() % unsigned(limit)); }

    std::mt19937 random_;
};

} // namespace

class TestChats : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sampleIsReadAndWritten() {
        const QList<Chat> chats = decodeChats(ExactCopy(sampleChats()).view());
        QCOMPARE(chats.size(), 2);
        const Chat& chat = chats.first();
        QCOMPARE(chat.title, u"Größe \"so\" 模型 🙂"_qs);
        QCOMPARE(chat.updatedAt, 1700000000500.5);
        QCOMPARE(chat.messages.size(), 2);
        QCOMPARE(chat.messages[0].content, u"a\\b\n\tc\u0001€"_qs);
        QCOMPARE(chat.messages[0].attachments.size(), 2);
        QCOMPARE(chat.messages[1].content, u"🙂 lone \ufffd end"_qs);
        QVERIFY(chat.messages[1].pending);
        QVERIFY(!chat.messages[1].media->startedAt);
        QCOMPARE(chats.last().updatedAt, -1.0);
        QCOMPARE(decodeChats(encodeChats(chats)), chats);
    }

    void arrays_data() {
        // pattern: "#" stands for a chat; count: -1 for an error
        const auto row = columns<QByteArray, int>("pattern", "count");
        for (const char* none : {"[]", " \n[\t]\r ", "\uFEFF[]"})
            row(none, none, 0);
        row("one", "[#]", 1);
        row("space between", " [ # ,\n# ] ", 2);
        for (const char* bad :
             {"",      "\uFEFF", "#",    "[",    "[#",     "[#,",  "[#,]", "[,#]", "[,]",    "[#,,#]", "[##]",
              "[# #]", "[#}",    "[#]]", "[{]]", "[[{]}]", "[][]", "[]x",  "[1]",  "[#,{}]", "[[#]]"})
            row(bad, bad, -1);
        row("zero byte behind", QByteArray("[]\0", 3), -1);
        row("UTF-16", QByteArray("\xFF\xFE[\0]\0", 6), -1);
    }
    void arrays() {
        FETCH(QByteArray, pattern, int, count);
        const ExactCopy exact(QByteArray(pattern).replace("#", chatWith("x")));
        if (count < 0)
            QVERIFY_THROWS_EXCEPTION(JsonError, decodeChats(exact.view()));
        else
            QCOMPARE(decodeChats(exact.view()).size(), count);
    }

    void stringsEndAnywhere() {
        // Escapes at every distance from the beginning of a string, where blocks of 16 bytes begin and end.
        for (int length = 0; length < 70; ++length) {
            const QByteArray plain(length, 'x');
            const QString text(length, QLatin1Char('x'));
            const QByteArray json = '[' + chatWith(plain + "\\\"]") + ',' + chatWith(plain + "\\\\") + ',' +
                                    chatWith(plain + "\\\\\\\"}") + ']';
            const QList<Chat> expected{plainChat(text + u"\"]"_qs), plainChat(text + u"\\"_qs),
                                       plainChat(text + u"\\\"}"_qs)};
            QCOMPARE(decodeChats(ExactCopy(json).view()), expected);
        }
    }

    void truncatedAnywhere() {
        const QByteArray whole = sampleChats();
        const QByteArray one = whole.mid(1, whole.indexOf(",{\"id\":\"chat-2\"") - 1);
        QCOMPARE(decodeRecord<Chat>(one, Source::LocalFile), decodeChats(whole).first());
        for (qsizetype size = 0; size < whole.size(); ++size)
            QVERIFY_THROWS_EXCEPTION(JsonError, decodeChats(ExactCopy(whole.left(size)).view()));
        for (qsizetype size = 0; size < one.size(); ++size)
            QVERIFY_THROWS_EXCEPTION(JsonError,
                                     decodeRecord<Chat>(ExactCopy(one.left(size)).view(), Source::LocalFile));
    }

    void mutatedAnyhow() {
        Mutator mutator(1);
        int read = 0;
        for (int round = 0; round < 12'000; ++round) {
            const QByteArray json = mutator.mutated(sampleChats());
            const ExactCopy exact(json);
            QList<Chat> chats;
            if (!jsonErrorOf([&] { chats = decodeChats(exact.view()); }).isNull())
                continue;
            ++read;
            QVERIFY2(jsonErrorOf([&] { json::parseValue(exact.view()); }).isNull(), json.constData());
            QCOMPARE(decodeChats(encodeChats(chats)), chats);
        }
        QVERIFY(read > 800 && read < 11'200);
    }

    void hugeText() {
        const QString content = QString(u"Zeile \"größer\" 🙂\n\\"_qs).repeated(1'000'000);
        const QList<Chat> chats{plainChat(content), plainChat(u"x"_qs)};
        QCOMPARE(decodeChats(encodeChats(chats)), chats);
    }
};

QTEST_GUILESS_MAIN(TestChats)
#include "TestChats.moc"
