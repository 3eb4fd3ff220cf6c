#include "Columns.h"
#include "JSONValue.h"
#include "JsonSamples.h"
#include "JsonText.h"
#include "JsonWriter.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <bit>
#include <limits>
#include <random>

using namespace teskal::test;

namespace {

QByteArray written(const JSONValue& value) {
    JsonWriter writer;
    writer.value(value);
    return writer.take();
}

/// \a text as UTF-8 can carry it.
QString withoutLoneHalves(QString text) {
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!text[at].isSurrogate())
            continue;
        if (text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate())
            ++at;
        else
            text[at] = QChar(QChar::ReplacementCharacter);
    }
    return text;
}

QStringList readByQt(const QByteArray& json) {
    QJsonParseError error;
    const QJsonArray array = QJsonDocument::fromJson(json, &error).array();
    QStringList texts;
    for (const QJsonValue& value : array)
        texts.append(value.toString());
    return error.error == QJsonParseError::NoError ? texts : QStringList{error.errorString()};
}

QByteArray written(const QStringList& texts) {
    JsonWriter writer;
    writer.beginArray();
    for (const QString& text : texts)
        writer.string(text);
    writer.endArray();
    return writer.take();
}

QByteArray written(double number) {
    JsonWriter writer;
    writer.number(number);
    return writer.take();
}

/// Characters that are written in every possible way.
const QStringList& kinds() {
    static const QStringList texts{
        u"\""_qs,     u"\\"_qs,     u"\n"_qs,     u"\u001f"_qs,           u"\u007f"_qs,
        u"\u0080"_qs, u"ÿ"_qs,      u"\u0100"_qs, u"\u07ff"_qs,           u"\u0800"_qs,
        u"模"_qs,     u"\uffff"_qs, u"🙂"_qs,   QString(QChar(0xD83D)), QString(QChar(0xDE42))};
    return texts;
}

} // namespace

/// JSON values and how they are written. Texts are read back by Qt's parser, which shares nothing with the
/// writer.
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

    void everyCodeUnit() {
        QStringList texts;
        QStringList expected;
        for (int unit = 0; unit <= 0xFFFF; ++unit) {
            if (unit == QChar::ByteOrderMark)
                continue; // which Qt's parser drops
            texts.append(QString(QChar(unit)));
            expected.append(withoutLoneHalves(texts.last()));
        }
        QCOMPARE(readByQt(written(texts)), expected);
    }

    void everyPlaceInABlock_data() {
        const auto row = columns<int, int>("first", "last");
        row("vectors of 16", 0, 50);
        row("end of the first reservation", 4085, 4115);
        row("end of the second reservation", 8185, 8200);
    }
    void everyPlaceInABlock() {
        FETCH(int, first, int, last);
        QStringList texts;
        QStringList expected;
        for (const QString& kind : kinds()) {
            for (int before = first; before <= last; ++before) {
                const QString plain(before, QLatin1Char('x'));
                for (const QString& text :
                     {QString(plain + kind), QString(plain + kind + kind + QString(20, QLatin1Char('y')))}) {
                    texts.append(text);
                    expected.append(withoutLoneHalves(text));
                }
            }
        }
        QCOMPARE(readByQt(written(texts)), expected);
        for (const QString& kind : kinds()) {
            const QString text = QString(kind).repeated(last);
            QCOMPARE(readByQt(written(QStringList{text})), QStringList{withoutLoneHalves(text)});
        }
    }

    void number_data() {
        columns<double, QByteArray>("number", "json");
        const auto row = [](double number, const char* json) {
            QTest::newRow(json) << number << QByteArray(json);
        };
        row(0, "0");
        row(0.1, "0.1");
        row(1.7e12, "1700000000000");
        row(9007199254740992, "9007199254740992");
        row(5e-324, "5e-324");
        row(std::numeric_limits<double>::infinity(), "null");
        QTest::newRow("-0") << -0.0 << QByteArray("0");
        QTest::newRow("nan") << qQNaN() << QByteArray("null");
    }
    void number() {
        FETCH(double, number, QByteArray, json);
        QCOMPARE(written(number), json);
    }

    void numbersReadBackTheSame() {
        std::mt19937_64 random(7);
        for (int i = 0; i < 20'000; ++i) {
            const auto number = std::bit_cast<double>(random());
            if (std::isfinite(number))
                QCOMPARE(*json::parseValue(written(number)).number(), number);
        }
    }
};

QTEST_GUILESS_MAIN(TestValues)
#include "TestValues.moc"
