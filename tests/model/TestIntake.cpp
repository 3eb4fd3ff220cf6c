#include "Chat.h"
#include "Columns.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "RecordCodec.h"

#include <clocale>

using namespace teskal::test;

namespace {

/// A value inside \a levels arrays and objects by turns; \a shape says which.
QByteArray nested(int levels, const QByteArray& shape) {
    QByteArray begin;
    QByteArray end;
    for (int level = 0; level < levels; ++level) {
        const bool array = shape[level % shape.size()] == '[';
        begin += array ? "[" : "{\"a\":";
        end += array ? ']' : '}';
    }
    std::reverse(end.begin(), end.end());
    return begin + "1" + end;
}

QByteArray messageWith(const QByteArray& member, const QByteArray& value) {
    return R"({"id":"m","role":"assistant","content":"","media":{"type":"t","operation":)" +
           (member == "operation" ? value : QByteArray("null")) +
           "},\"route\":" + (member == "route" ? value : QByteArray("null")) + '}';
}

} // namespace

/// What senders write although it is not quite JSON is read; what is broken stays an error. Nesting is
/// bounded, and what is taken in can be saved and read again.
class TestIntake : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text() {
        FETCH(QByteArray, inside, QString, text);
        const ExactCopy exact("{\"message\":\"" + inside + "\"}");
        QCOMPARE(decodeRecord<MessageError>(exact.view(), Source::Wire).message, text);
    }

    void bytesThatAreNotUtf8_data() {
        const auto row = columns<QByteArray>("bytes");
        for (const char* bytes :
             {"\x80", "\xFF", "\xC3", "\xE2\x82", "\xF0\x9F\x99", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80",
              "\xED\xA0\xBD\xED\xB9\x82", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\x82\xC3\xC3"})
            row(QByteArray(bytes).toHex().constData(), QByteArray(bytes));
    }
    void bytesThatAreNotUtf8() {
        QFETCH(const QByteArray, bytes);
        const ExactCopy exact("{\"message\":\"a" + bytes + "b" + bytes + "\"}");
        const QString text = decodeRecord<MessageError>(exact.view(), Source::Wire).message;
        // How many replacement characters a sequence becomes is the decoder's choice.
        static const QRegularExpression expected(u"^a\ufffd+b\ufffd+$"_qs);
        QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
    }

    void number_data() {
        // number: NaN for null
        const auto row = columns<QByteArray, double>("json", "number");
        const double null = qQNaN();
        row("too large", "1e400", null);
        row("too small", "-1e400", null);
        row("too large by a point", "1.5E+400", null);
        row("too large by its digits", QByteArray(400, '9'), null);
        row("too close to zero", "1e-400", 0.0);
        row("25 digits", "1234567890123456789012345", 1234567890123456789012345.0);
        row("25 digits, negative", "-1234567890123456789012345", -1234567890123456789012345.0);
        row("one above 64 bits", "18446744073709551616", 18446744073709551616.0);
        row("-0", "-0", 0.0);
        row("-0.0", "-0.0", 0.0);
    }
    void number() {
        FETCH(QByteArray, json, double, number);
        const JSONValue expected(number);
        QVERIFY(json::parseValue(ExactCopy(json).view()) == expected);
        QVERIFY(json::parseValue('[' + json + ']') == JSONValue(JSONValue::Array{expected}));
        QVERIFY(json::parseValue("{\"a\": " + json + " }").member(u"a"_qs) == expected);
    }

    void numberInACommaLocale() {
        // The application takes the user's locale, in which "1.5e400" is the number 1 and a rest.
        const QByteArray before = std::setlocale(LC_NUMERIC, nullptr);
        const bool comma =
            std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "fr_FR.UTF-8");
        const JSONValue value = json::parseValue("[1.5e400,1.5]");
        std::setlocale(LC_NUMERIC, before.constData());
        QVERIFY(value == JSONValue(JSONValue::Array{nullptr, 1.5}));
        if (!comma)
            QSKIP("no locale with a decimal comma is installed; read in the one that is");
    }

    void byteOrderMark() {
        const QByteArray mark = "\xEF\xBB\xBF";
        QVERIFY(json::parseValue(mark + "{}") == JSONValue(JSONValue::Object{}));
        QVERIFY(json::parseValue(mark + "\"\\ud83d\"") == JSONValue(u"\ufffd"_qs));
        QCOMPARE(decodeChats(mark + sampleChats()), decodeChats(sampleChats()));
        QVERIFY_THROWS_EXCEPTION(JsonError, json::parseValue(mark));
    }

    void mendsOnlyWhatIsOutsideOfStrings() {
        const JSONValue value =
            json::parseValue("[\"1e400\",\"-12345678901234567890123\",\"\\ud83d\",1e400,\"\\\"1e400\"]");
        const JSONValue::Array expected{u"1e400"_qs, u"-12345678901234567890123"_qs, u"\ufffd"_qs, nullptr,
                                        u"\"1e400"_qs};
        QVERIFY(value == JSONValue(expected));
    }

    void staysBroken_data() {
        rowsOf<QByteArray>("json", {"\"\\ud83d", "\"\\ud83", "\"\\ud83d\\", "[\"\\ud83d\",]", "[1e400",
                                    "[--1e400]", "[1e400x]", "[1e+-400]", "{1e400:1}", "[\xFF]",
                                    "[12345678901234567890123.]", "[1e400 1]", "\"\xE2\x82",
                                    "[01234567890123456789012345]", "[\"\\ud83d\" \"\\ud83d\"]"});
    }
    void staysBroken() {
        QFETCH(const QByteArray, json);
        QVERIFY_THROWS_EXCEPTION(JsonError, json::parseValue(ExactCopy(json).view()));
    }

    void tenThousandLevels_data() {
        const auto row = columns<QByteArray>("json");
        const QByteArray arrays = nested(10'000, "[");
        const QByteArray objects = nested(10'000, "{");
        row("arrays", arrays);
        row("objects", objects);
        row("both", nested(10'000, "[{"));
        row("arrays, open", arrays.left(10'000));
        row("objects, open", objects.left(50'000));
        row("in an ignored member", QByteArray("{\"message\":\"m\",\"x\":" + arrays + '}'));
        row("in a message", messageWith("route", arrays));
    }
    void tenThousandLevels() {
        QFETCH(const QByteArray, json);
        const ExactCopy exact(json);
        QVERIFY_THROWS_EXCEPTION(JsonError, json::parseValue(exact.view()));
        QVERIFY_THROWS_EXCEPTION(JsonError, decodeRecord<MessageError>(exact.view(), Source::LocalFile));
        QVERIFY_THROWS_EXCEPTION(JsonError, decodeRecord<ChatMessage>(exact.view(), Source::Wire));
        QVERIFY_THROWS_EXCEPTION(JsonError, decodeChats('[' + json + ']'));
        QVERIFY_THROWS_EXCEPTION(JsonError, decodeChats(exact.view()));
    }

    void whatIsAcceptedCanBeReadBack_data() {
        columns<QByteArray, QByteArray>("member", "shape");
        for (const char* member : {"route", "operation"}) {
            for (const char* shape : {"[", "{", "[{", "{["})
                QTest::addRow("%s %s", member, shape) << QByteArray(member) << QByteArray(shape);
        }
    }
    void whatIsAcceptedCanBeReadBack() {
        FETCH(QByteArray, member, QByteArray, shape);
        int accepted = 0;
        for (int levels = JSONValue::maxDepth - 3; levels <= JSONValue::maxDepth + 3; ++levels) {
            const QByteArray json = messageWith(member, nested(levels, shape));
            Chat chat;
            const QString error =
                jsonErrorOf([&] { chat.messages.append(decodeRecord<ChatMessage>(json, Source::Wire)); });
            QCOMPARE(error.isNull(), levels <= JSONValue::maxDepth);
            if (!error.isNull())
                continue;
            ++accepted;
            const QList<Chat> chats{chat};
            QCOMPARE(decodeChats(encodeChats(chats)), chats);
        }
        QCOMPARE(accepted, 4);
    }

    void untypedTrees() {
        QVariant tree = 1;
        for (int level = 0; level < 2'000; ++level)
            tree = level % 2 ? QVariant(QVariantList{tree}) : QVariant(QVariantMap{{u"a"_qs, tree}});
        ChatMessage message;
        message.activity = JSONValue::fromAny(tree);
        Chat chat;
        chat.messages.append(message);
        QCOMPARE(decodeChats(encodeChats({chat})), QList<Chat>{chat});
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestIntake::text_data() {
    // inside: between the quotes
    const auto row = columns<QByteArray, QString>("inside", "text");
    row("a pair", R"(\ud83d\ude42)", "🙂");
    row("high alone", R"(a\ud83d b)", "a\ufffd b");
    row("low alone", R"(a\ude42 b)", "a\ufffd b");
    row("high at the end", R"(a\uD83D)", "a\ufffd");
    row("low at the end", R"(a\uDE42)", "a\ufffd");
    row("high high low", R"(\ud83d\ud83d\ude42)", "\ufffd🙂");
    row("low high", R"(\ude42\ud83d)", "\ufffd\ufffd");
    row("high low low", R"(\ud83d\ude42\ude42)", "🙂\ufffd");
    row("high before another escape", R"(\ud83d\n\u0041)", "\ufffd\nA");
    row("high before an escaped backslash", R"(\ud83d\\ude42)", "\ufffd\\ude42");
    row("an escaped backslash is no escape", R"(\\ud83d\ud83d)", "\\ud83d\ufffd");
    row("an escaped quote beside it", R"(\ud83d\"x)", "\ufffd\"x");
    row("a stray byte", "a\xFFz", "a\ufffdz");
    row("a continuation byte alone", "a\x80z", "a\ufffdz");
    row("flaws of both kinds", "\xFF\\ud83d", "\ufffd\ufffd");
}

QTEST_GUILESS_MAIN(TestIntake)
#include "TestIntake.moc"
