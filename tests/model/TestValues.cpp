#include "Columns.h"
#include "JSONValue.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "JsonWriter.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

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
    void survivesWritingAndReading_data() {
        rowsOf<QByteArray>("json",
                           {"[[],[null,[{}]],{\"a\":{\"b\":[true,false,null]}}]", "{\"\":\"\",\"a\\nb\":1.5}",
                            "\"\\u0000\"", "[0.1,1e-07,123456789.25,5e-324,1.7976931348623157e+308]",
                            "\"\xEF\xBB\xBF\""});
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
        row("text", u"1"_qs, "\"1\"");
        row("list", QVariantList{true, 1, u"1"_qs, QVariant()}, "[true,1,\"1\",null]");
        row("list of texts", QStringList{u"a"_qs}, "[\"a\"]");
        row("map", QVariantMap{{u"k"_qs, QVariantList{QVariantMap{}}}}, "{\"k\":[{}]}");
        row("hash", QVariantHash{{u"k"_qs, false}}, "{\"k\":false}");
        row("JSON object", QJsonObject{{u"k"_qs, QJsonArray{true, 1, QJsonValue()}}},
            "{\"k\":[true,1,null]}");
        row("JSON array", QJsonArray{QJsonObject{}}, "[{}]");
        row("a date", QDate(2024, 1, 1), "null");
        row("bytes", QByteArray("x"), "null");
    }
    void takesAnUntypedTree() {
        FETCH(QVariant, any, QByteArray, json);
        QCOMPARE(written(JSONValue::fromAny(any)), json);
        QCOMPARE(written(JSONValue::fromAny(QVariantList{any})), '[' + json + ']');
    }
};

QTEST_GUILESS_MAIN(TestValues)
#include "TestValues.moc"
