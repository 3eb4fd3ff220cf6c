#include "Columns.h"
#include "JsonText.h"
#include "JsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <bit>
#include <limits>
#include <random>

using namespace teskal;
using namespace teskal::test;

namespace {

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
        QStringLiteral("\""),     QStringLiteral("\\"),     QStringLiteral("\n"),  QStringLiteral("\u001f"),
        QStringLiteral("\u007f"), QStringLiteral("\u0080"), QStringLiteral("ÿ"),   QStringLiteral("\u0100"),
        QStringLiteral("\u07ff"), QStringLiteral("\u0800"), QStringLiteral("模"),  QStringLiteral("\uffff"),
        QStringLiteral("🙂"),   QString(QChar(0xD83D)),   QString(QChar(0xDE42))};
    return texts;
}

} // namespace

/// Texts are read back by Qt's parser, which shares nothing with the writer.
class TestWriter : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

    void everyPlane() {
        QStringList texts;
        for (char32_t point = 0x10000; point <= 0x10FFFF; point += 0x3FF)
            texts.append(QString::fromUcs4(&point, 1));
        const char32_t last = 0x10FFFF;
        texts.append(QString::fromUcs4(&last, 1));
        QCOMPARE(readByQt(written(texts)), texts);
    }

    void everyPlaceInABlock_data() {
        const auto row = columns<int, int>("first", "last");
        row("vectors of 16", 0, 50);
        row("end of the first reservation", 4085, 4115);
        row("end of the second reservation", 8185, 8200);
    }
    void everyPlaceInABlock() {
        QFETCH(const int, first);
        QFETCH(const int, last);
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

    void keysAreEscaped() {
        JSONValue::Object members;
        for (const QString& kind : kinds())
            members.insert(kind, kind);
        JsonWriter writer;
        writer.value(members);
        const JSONValue read = json::parseValue(writer.take());
        for (const QString& kind : kinds())
            QCOMPARE(*read.member(withoutLoneHalves(kind)).string(), withoutLoneHalves(kind));
    }

    void number_data() {
        columns<double, QByteArray>("number", "json");
        const auto row = [](double number, const char* json) {
            QTest::newRow(json) << number << QByteArray(json);
        };
        row(0, "0");
        row(-1, "-1");
        row(1.5, "1.5");
        row(0.1, "0.1");
        row(1.7e12, "1700000000000");
        row(9007199254740991, "9007199254740991");
        row(-9007199254740991, "-9007199254740991");
        row(9007199254740992, "9007199254740992");
        row(1e300, "1e+300");
        row(5e-324, "5e-324");
        row(std::numeric_limits<double>::infinity(), "null");
        QTest::newRow("-0") << -0.0 << QByteArray("0");
        QTest::newRow("nan") << qQNaN() << QByteArray("null");
    }
    void number() {
        QFETCH(const double, number);
        QFETCH(const QByteArray, json);
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

    void emptyAfterTake() {
        JsonWriter writer;
        writer.string(u"a");
        QCOMPARE(writer.take(), QByteArray("\"a\""));
        writer.beginObject();
        writer.key("raw");
        writer.raw("[1, 2]");
        writer.key("b");
        writer.boolean(false);
        writer.endObject();
        QCOMPARE(writer.take(), QByteArray("{\"raw\":[1, 2],\"b\":false}"));
    }
};

QTEST_GUILESS_MAIN(TestWriter)
#include "TestWriter.moc"
