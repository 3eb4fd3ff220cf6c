#include "Columns.h"
#include "JSONValue.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "JsonWriter.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <limits>

using namespace teskal;
using namespace teskal::test;

namespace {

QByteArray written(const JSONValue& value) {
    JsonWriter writer;
    writer.value(value);
    return writer.take();
}

} // namespace

class TestValues : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsTheTypeThatIsThere_data() {
        columns<QByteArray, int>("json", "type");
        const auto row = [](const char* json, JSONValue::Type type) {
            QTest::newRow(json) << QByteArray(json) << int(type);
        };
        row("true", JSONValue::Type::Bool);
        row("1", JSONValue::Type::Number);
        row("\"1\"", JSONValue::Type::String);
        row("false", JSONValue::Type::Bool);
        row("0", JSONValue::Type::Number);
        row("\"\"", JSONValue::Type::String);
        row("null", JSONValue::Type::Null);
        row("-1.5e3", JSONValue::Type::Number);
        row("18446744073709551615", JSONValue::Type::Number);
        row("-9223372036854775808", JSONValue::Type::Number);
        row("[]", JSONValue::Type::Array);
        row("{}", JSONValue::Type::Object);
    }
    void readsTheTypeThatIsThere() {
        QFETCH(const QByteArray, json);
        QFETCH(const int, type);
        const JSONValue value = json::parseValue(ExactCopy(json).view());
        QCOMPARE(int(value.type()), type);
        QCOMPARE(value.isNull(), json == "null");
    }

    void survivesWritingAndReading_data() {
        QTest::addColumn<QByteArray>("json");
        for (const char* json :
             {"[[],[null,[{}]],{\"a\":{\"b\":[true,false,null]}}]", "{\"\":\"\",\"a\\nb\":1.5}",
              "\"\\u0000\"", "[0.1,1e-07,123456789.25,5e-324,1.7976931348623157e+308]", "\"\xEF\xBB\xBF\""})
            QTest::newRow(json) << QByteArray(json);
    }
    void survivesWritingAndReading() {
        QFETCH(const QByteArray, json);
        const JSONValue value = json::parseValue(json);
        QCOMPARE(written(value), json);
        QVERIFY(json::parseValue(written(value)) == value);
    }

    void comparesObjectsAsMaps() {
        QVERIFY(json::parseValue(R"({"a":1,"b":[2]})") == json::parseValue(R"({"b":[2.0],"a":1})"));
        QVERIFY(!(json::parseValue(R"({"a":1})") == json::parseValue(R"({"a":true})")));
        QVERIFY(!(json::parseValue(R"({"a":null})") == json::parseValue("{}")));
        QVERIFY(!(json::parseValue("[1,2]") == json::parseValue("[2,1]")));
    }

    void takesAnUntypedTree_data() {
        const auto row = columns<QVariant, QByteArray>("any", "json");
        row("nothing", QVariant(), "null");
        row("null pointer", QVariant::fromValue(nullptr), "null");
        row("JSON null", QVariant(QJsonValue(QJsonValue::Null)), "null");
        row("JSON undefined", QVariant(QJsonValue(QJsonValue::Undefined)), "null");
        row("true", true, "true");
        row("JSON false", QVariant(QJsonValue(false)), "false");
        row("int", 1, "1");
        row("largest", QVariant::fromValue(std::numeric_limits<quint64>::max()), "18446744073709551616");
        row("short", QVariant::fromValue(short(-2)), "-2");
        row("float", 0.5F, "0.5");
        row("infinite", std::numeric_limits<double>::infinity(), "null");
        row("text", QStringLiteral("1"), "\"1\"");
        row("list", QVariantList{true, 1, QStringLiteral("1"), QVariant()}, "[true,1,\"1\",null]");
        row("list of texts", QStringList{QStringLiteral("a")}, "[\"a\"]");
        row("map", QVariantMap{{QStringLiteral("k"), QVariantList{QVariantMap{}}}}, "{\"k\":[{}]}");
        row("hash", QVariantHash{{QStringLiteral("k"), false}}, "{\"k\":false}");
        row("JSON object", QJsonObject{{QStringLiteral("k"), QJsonArray{true, 1, QJsonValue()}}},
            "{\"k\":[true,1,null]}");
        row("JSON array", QJsonArray{QJsonObject{}}, "[{}]");
        row("a date", QDate(2024, 1, 1), "null");
        row("bytes", QByteArray("x"), "null");
    }
    void takesAnUntypedTree() {
        QFETCH(const QVariant, any);
        QFETCH(const QByteArray, json);
        QCOMPARE(written(JSONValue::fromAny(any)), json);
        QCOMPARE(written(JSONValue::fromAny(QVariantList{any})), '[' + json + ']');
    }

    void memberOfWhateverItIs() {
        const JSONValue value = json::parseValue(R"({"a":"x"})");
        const QString key = QStringLiteral("a");
        QCOMPARE(*value.member(key).string(), QStringLiteral("x"));
        QVERIFY(value.member(QStringLiteral("b")).isNull());
        QVERIFY(value.member(key).member(key).isNull());
        QVERIFY(JSONValue().member(key).isNull());
    }
};

QTEST_GUILESS_MAIN(TestValues)
#include "TestValues.moc"
