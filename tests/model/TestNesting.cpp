#include "Chat.h"
#include "Columns.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "RecordCodec.h"

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

/// Nesting is bounded on intake, and what is taken in can be saved and read again.
class TestNesting : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestNesting)
#include "TestNesting.moc"
