#include "Chat.h"
#include "ChatListEntry.h"
#include "Columns.h"
#include "JsonSamples.h"
#include "RecordCodec.h"
#include "Timestamp.h"

using namespace teskal::test;

using Recode = QByteArray (*)(QByteArrayView, Source);
Q_DECLARE_METATYPE(Recode)

namespace {

template<typename Record>
QByteArray recode(QByteArrayView json, Source source) {
    const auto record = decodeRecord<Record>(json, source);
    return encodeRecord(record);
}

QByteArray recodeListEntry(QByteArrayView json, Source source) {
    const auto entry = decodeRecord<ChatListEntry>(json, source);
    return QByteArray::number(entry.updatedAt) + (entry.deleted ? " deleted " : " kept ") +
           entry.title.value_or(u"-"_qs).toUtf8();
}

const QByteArray minimalMessage = R"({"id":"m","role":"user","content":""})";
const QByteArray minimalMedia = R"({"type":"music"})";
const QByteArray minimalAttachment = R"({"name":"n","mediaType":"t"})";
const QByteArray minimalError = R"({"message":"m"})";
const QByteArray minimalChat = R"({"id":"c","title":"","createdAt":0,"updatedAt":1,"messages":[]})";

/// \a object with one more member at its end.
QByteArray with(const QByteArray& object, const QByteArray& key, const QByteArray& value) {
    return object.chopped(1) + ",\"" + key + "\":" + value + '}';
}

} // namespace

class TestRecords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsContentAndKeyOrder_data() {
        // written: empty: the same
        const auto row = columns<Recode, QByteArray, QByteArray>("recode", "json", "written");
        row("message, nothing optional", recode<ChatMessage>, minimalMessage);
        row("message, everything", recode<ChatMessage>,
            R"({"id":"m","role":"assistant","content":"x","attachments":[{"name":"n","mediaType":"t"}],"route":{"a":[1]},)"
            R"("activity":"s","pending":true,"error":{"message":"e"},"media":{"type":"image"}})");
        row("message, keys shuffled and unknown ones", recode<ChatMessage>,
            R"({"x":{"id":1},"content":"c","pending":true,"role":"user","more":[[]],"id":"m"})",
            R"({"id":"m","role":"user","content":"c","pending":true})");
        row("message, null is absent", recode<ChatMessage>,
            R"({"id":"m","role":"user","content":"","attachments":null,"route":null,"activity":null,"pending":null,)"
            R"("error":null,"media":null})",
            minimalMessage);
        row("message, false and empty are absent", recode<ChatMessage>,
            R"({"id":"m","role":"user","content":"","attachments":[],"pending":false})", minimalMessage);
        row("media, everything", recode<Media>,
            R"({"type":"video","url":"u","prompt":"p","status":"done","model":"m","operation":{"job":"j","n":1.5},)"
            R"("message":"t","dropped":true,"fileId":"f","mediaType":"video/mp4","job":"j","requestId":"r","lyrics":"l",)"
            R"("startedAt":1700000000000})");
        row("media, empty texts are not absent", recode<Media>, R"({"type":"","url":"","job":""})");
        row("attachment", recode<Attachment>,
            R"({"name":"n","mediaType":"t","dataUrl":"data:,","fileId":"f","dropped":true})");
        row("error", recode<MessageError>, R"({"code":"C","message":"m"})");
        row("chat", recode<Chat>,
            R"({"id":"c","title":"t","createdAt":1700000000000,"updatedAt":1700000000001.5,"messages":[)" +
                minimalMessage + "]}");
        row("chat, whole numbers lose their fraction", recode<Chat>,
            R"({"id":"c","title":"","createdAt":1.7e12,"updatedAt":-0.0,"messages":[]})",
            R"({"id":"c","title":"","createdAt":1700000000000,"updatedAt":0,"messages":[]})");
        row("characters", recode<MessageError>,
            "{\"message\":\"\\\"\\\\/\\b\\f\\u00e9\\u2028\\ud83d\\ude42\\u0000\"}",
            "{\"message\":\"\\\"\\\\/\\u0008\\u000cé\u2028🙂\\u0000\"}");
        row("a byte-order mark inside a text", recode<MessageError>,
            "{\"message\":\"\xEF\xBB\xBFx\xEF\xBB\xBF\"}");
        row("space around everything", recode<MessageError>, "\r\n { \"message\" :\t\"m\" } \n",
            minimalError);
    }
    void keepsContentAndKeyOrder() {
        FETCH(Recode, recode, QByteArray, json, QByteArray, written);
        const ExactCopy exact(json);
        for (const Source source : {Source::LocalFile, Source::Wire})
            QCOMPARE(recode(exact.view(), source), written.isEmpty() ? json : written);
    }

    void mistypedOptionalMember_data() {
        columns<Recode, QByteArray, QByteArray, QByteArray>("recode", "minimal", "key", "value");
        const auto rows = [](Recode how, const QByteArray& minimal, const QList<QByteArray>& keys,
                             const QByteArray& value) {
            for (const QByteArray& key : keys)
                QTest::addRow("%s: %s in %s", key.constData(), value.constData(), minimal.constData())
                    << how << minimal << key << value;
        };
        rows(recode<ChatMessage>, minimalMessage, {"attachments", "pending", "error", "media"}, "1");
        rows(recode<ChatMessage>, minimalMessage, {"attachments", "pending", "error", "media"}, "\"true\"");
        rows(recode<ChatMessage>, minimalMessage, {"attachments"},
             R"([{"name":"n","mediaType":"t"},{"name":"n"}])");
        rows(recode<ChatMessage>, minimalMessage, {"error", "media"}, "{}");
        rows(recode<Media>, minimalMedia,
             {"url", "prompt", "status", "model", "message", "fileId", "mediaType", "job", "requestId",
              "lyrics"},
             "true");
        rows(recode<Media>, minimalMedia, {"dropped"}, "0");
        rows(recode<Media>, minimalMedia, {"startedAt"}, "\"1\"");
        rows(recode<Attachment>, minimalAttachment, {"dataUrl", "fileId", "dropped"}, "[]");
        rows(recode<MessageError>, minimalError, {"code"}, "402");
    }
    void mistypedOptionalMember() {
        FETCH(Recode, recode, QByteArray, minimal, QByteArray, key, QByteArray, value);
        const QByteArray json = with(minimal, key, value);
        QCOMPARE(recode(json, Source::LocalFile), minimal);
        const QString error = jsonErrorOf([&] { recode(json, Source::Wire); });
        QVERIFY2(error.startsWith(QLatin1Char('"') + QLatin1String(key) + QLatin1Char('"')),
                 qPrintable(error));
        QCOMPARE(recode(with(minimal, key, "1e400"), Source::Wire), minimal);
    }

    void requiredMember_data() {
        const auto row = columns<Recode, QByteArray, QString>("recode", "json", "path");
        const auto rows = [](Recode how, const QByteArray& object, const QList<QByteArray>& keys,
                             const QByteArray& wrong) {
            for (const QByteArray& key : keys) {
                const QString path = QLatin1Char('"') + QLatin1String(key) + QLatin1Char('"');
                const QByteArray other = QByteArray(object).replace('"' + key + "\":", "\"other\":");
                QTest::addRow("%s missing from %s", key.constData(), object.constData())
                    << how << other << path;
                for (const QByteArray& value : {QByteArray("null"), QByteArray("1e400"), wrong}) {
                    QTest::addRow("%s is %s in %s", key.constData(), value.constData(), object.constData())
                        << how << with(other, key, value) << path;
                }
            }
        };
        rows(recode<ChatMessage>, minimalMessage, {"id", "role", "content"}, "7");
        rows(recode<Media>, minimalMedia, {"type"}, "[]");
        rows(recode<Attachment>, minimalAttachment, {"name", "mediaType"}, "{}");
        rows(recode<MessageError>, minimalError, {"message"}, "false");
        rows(recode<Chat>, minimalChat, {"id", "title", "messages"}, "7");
        rows(recode<Chat>, minimalChat, {"createdAt", "updatedAt"}, "\"7\"");
        rows(recodeListEntry, R"({"id":"c","updatedAt":1})", {"id"}, "1");
        rows(recodeListEntry, R"({"id":"c","updatedAt":1})", {"updatedAt"}, "true");
        row("inside a list", Recode(recode<Chat>),
            R"({"id":"c","title":"","createdAt":0,"updatedAt":1,"messages":[)" + minimalMessage +
                R"(,{"id":"m","role":"user"}]})",
            "\"messages\": \"content\"");
    }
    void requiredMember() {
        FETCH(Recode, recode, QByteArray, json, QString, path);
        for (const Source source : {Source::LocalFile, Source::Wire}) {
            const QString error = jsonErrorOf([&] { recode(json, source); });
            QVERIFY2(error.startsWith(path), qPrintable(error));
        }
    }

    void lastOfEqualKeysWins_data() {
        // written: empty: an error
        const auto row = columns<Recode, QByteArray, QByteArray>("recode", "json", "written");
        row("two values", recode<MessageError>, R"({"message":"a","message":"m"})", minimalError);
        row("null at last, optional", recode<MessageError>, R"({"code":"c","message":"m","code":null})",
            minimalError);
        row("null at last, required", recode<MessageError>, R"({"message":"a","message":null})");
        row("wrong type first, required", recode<MessageError>, R"({"message":1,"message":"m"})",
            minimalError);
        row("wrong type first, optional", recode<MessageError>, R"({"code":1,"message":"m","code":"c"})",
            R"({"code":"c","message":"m"})");
        row("wrong type last, required", recode<MessageError>, R"({"message":"m","message":1})");
        row("the same key by escapes", recode<MessageError>, R"({"message":"a","mess\u0061ge":"m"})",
            minimalError);
        row("lists are not joined", recode<Chat>,
            QByteArray(minimalChat).replace("[]", '[' + minimalMessage + R"(],"messages":[])"), minimalChat);
        row("records are not merged", recode<ChatMessage>,
            with(with(minimalMessage, "error", R"({"code":"c","message":"a"})"), "error", minimalError),
            with(minimalMessage, "error", minimalError));
        row("inside a value of any shape", recode<ChatMessage>,
            with(minimalMessage, "route", R"({"a":1,"b":0,"a":null})"),
            with(minimalMessage, "route", R"({"a":null,"b":0})"));
    }
    void lastOfEqualKeysWins() {
        FETCH(Recode, recode, QByteArray, json, QByteArray, written);
        for (const Source source : {Source::LocalFile, Source::Wire}) {
            if (written.isEmpty())
                QVERIFY_THROWS_EXCEPTION(JsonError, recode(json, source));
            else
                QCOMPARE(recode(json, source), written);
        }
    }

    void notAnObject_data() {
        rowsOf<QByteArray>("json", {"", " ", "null", "1", "\"x\"", "[]", "true", "{", "}", "{]", "{}{}",
                                    "{\"message\":\"m\"}x", "{\"message\":\"m\",}", "{'message':'m'}",
                                    "{\"message\":\"a\nb\"}", "{\"message\":\"\\x\"}",
                                    "{\"message\":\"\\u12\"}", "{\"message\" \"m\"}", "\xFF\xFE{\0}\0"});
    }
    void notAnObject() {
        QFETCH(const QByteArray, json);
        const ExactCopy exact(json);
        QVERIFY_THROWS_EXCEPTION(JsonError, decodeRecord<MessageError>(exact.view(), Source::LocalFile));
    }

    void unknownRoleIsAPersons() {
        const auto message =
            decodeRecord<ChatMessage>(R"({"id":"m","role":"system","content":""})", Source::Wire);
        QVERIFY(message.role == Role::User);
    }

    void touchNeverGoesBack() {
        QCOMPARE(touchedTime(1000, 0), 1000.0);
        QCOMPARE(touchedTime(1000, 1000), 1001.0);
        QCOMPARE(touchedTime(1000, 5000), 5001.0);
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "TestRecords.moc"
