#include "AnswerFraming.h"
#include "Columns.h"

#include "JsonText.h"
#include "JsonWriter.h"

#include <QRandomGenerator>

using namespace teskal::test;

namespace {

QByteArray report(const QByteArray& json) {
    return '\x1E' + json + '\x1D';
}

/// Everything that a stream gave.
struct Outcome {
    QString text;
    QList<QByteArray> activities;
    QStringList textsAtReports; ///< what stood before each report
    bool isInsideEvent = false;
    QString error;

    bool operator==(const Outcome&) const = default;
};

Outcome read(const QList<QByteArrayView>& pieces) {
    AnswerFraming framing;
    Outcome outcome;
    for (const QByteArrayView piece : pieces)
        framing.feed(piece, [&] {
            JsonWriter writer;
            writer.value(framing.activity());
            outcome.activities.append(writer.take());
            outcome.textsAtReports.append(framing.text());
        });
    framing.finish();
    outcome.text = framing.text();
    outcome.isInsideEvent = framing.isInsideEvent();
    outcome.error = framing.brokenOffError().value_or(QString());
    return outcome;
}

/// Pieces of the sizes that \a size gives, empty ones included.
QList<QByteArrayView> piecesOf(QByteArrayView stream, const std::function<qsizetype()>& size) {
    QList<QByteArrayView> pieces;
    while (!stream.isEmpty()) {
        pieces.append(stream.first(std::min(size(), stream.size())));
        stream = stream.sliced(pieces.last().size());
    }
    return pieces;
}

} // namespace

/// The streamed answer's bytes: the same text, reports and end however they are cut.
class TestAnswerFraming final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void anyCutGivesTheSame_data() {
        const auto row = columns<QByteArray, QString, QList<QByteArray>, bool, QString>(
            "stream", "text", "activities", "inside", "error");
        using Activities = QList<QByteArray>;
        row("every length of UTF-8", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z\r\n\t", "aé€😀z\r\n\t");
        row("byte-order mark stays", "\uFEFFa\uFEFF", u"\uFEFFa\uFEFF"_qs);
        row("reports between texts",
            "Hello" + report(R"({"type":"search","query":"x"})") + " w" +
                report(R"({"type":"phase","phase":"Searching"})") +
                report(R"({"type":"search","query":"y"})") + "orld",
            "Hello world",
            Activities{R"({"searches":["x"]})", R"({"phase":"Searching","searches":["x"]})",
                       R"({"phase":"Searching","searches":["x","y"]})"});
        row("plan",
            report(R"({"type":"plan","steps":["one","two"]})") + report(R"({"type":"plan","steps":[]})"),
            QString(),
            Activities{R"({"searches":[],"steps":["one","two"]})", R"({"searches":[],"steps":[]})"});
        row("report with wide characters",
            report("{\"type\":\"search\",\"query\":\"\xC3\xA9\xF0\x9F\x98\x80\"}") + "x", "x",
            Activities{QByteArray("{\"searches\":[\"\xC3\xA9\xF0\x9F\x98\x80\"]}")});
        row("report inside a character", "\xF0\x9F" + report(R"({"type":"phase","phase":"p"})") + "\x98\x80!",
            "😀!", Activities{R"({"phase":"p","searches":[]})"});
        row("what is no report is ignored",
            "a" + report("") + report("{") + report("[]") + report("\"phase\"") +
                report(R"({"type":"later"})") + report(R"({"type":"phase","phase":1})") +
                report(R"({"type":"search"})") + report(R"({"type":"plan","steps":"no"})") +
                report("\xff\xfe") + report(R"({"phase":"p"})") + "b",
            "ab");
        row("signs in the wrong place", "a\u001Db" + report("\x1E") + "c", "a\u001Dbc");
        row("lone surrogate in a report", report(R"({"type":"search","query":"a\ud83db"})"), QString(),
            Activities{QByteArray("{\"searches\":[\"a\uFFFDb\"]}")});
        row("ends inside a report", "text\x1E{\"type\":\"pha", "text", Activities(), true);
        row("ends right after the sign", "text\x1E", "text", Activities(), true);
        row("ends inside a report that tells", "text\x1E{\"error\":\"The model left.\"}", "text",
            Activities(), true, "The model left.");
        row("ends inside an empty error", "text\x1E{\"error\":\"\"}", "text", Activities(), true);
        row("closed error", "text" + report(R"({"error":"no"})"), "text");
        row("ends inside a character", "a\xF0\x9F\x98", "a\uFFFD");
        row("nothing", "", QString());
    }
    void anyCutGivesTheSame() {
        QFETCH(const QByteArray, stream);
        const Outcome whole = read({stream});
        QTEST(whole.text, "text");
        QTEST(whole.activities, "activities");
        QTEST(whole.isInsideEvent, "inside");
        QTEST(whole.error, "error");
        for (qsizetype at = 0; at <= stream.size(); ++at)
            QVERIFY2(read({QByteArrayView(stream).first(at), QByteArrayView(stream).sliced(at)}) == whole,
                     qPrintable(u"cut at %1"_qs.arg(at)));
        QVERIFY(read(piecesOf(stream, [] { return 1; })) == whole);
        QRandomGenerator random(20);
        for (int round = 0; round < 100; ++round)
            QVERIFY2(read(piecesOf(stream, [&] { return random.bounded(10); })) == whole,
                     qPrintable(u"round %1"_qs.arg(round)));
    }

    void decodesLikeTheEncodingStandard_data() {
        columns<QByteArray, QString>("bytes", "text");
        const auto row = [](const char* name, const QByteArray& bytes, int replacements,
                            const QString& rest = {}) {
            QTest::newRow(name) << bytes << QString(replacements, QChar::ReplacementCharacter) + rest;
        };
        row("lone continuation", "\x80", 1);
        row("impossible bytes", "\xC0\xC1\xF5\xFE\xFF", 5);
        row("overlong of two", "\xC0\xAF", 2);
        row("overlong of three", "\xE0\x80\xAF", 3);
        row("overlong of four", "\xF0\x80\x80\xAF", 4);
        row("surrogate", "\xED\xA0\x80", 3);
        row("beyond the last code point", "\xF4\x90\x80\x80", 4);
        row("cut short by text", "\xE2\202a", 1, u"a"_qs);
        row("cut short by another", "\xF0\x9F\x98\xE2\x82\xAC", 1, u"€"_qs);
        row("lead after lead", "\xE2\xE2\x82\xAC", 1, u"€"_qs);
        row("last before the surrogates", "\xED\x9F\xBF", 0, QString(QChar(0xD7FF)));
        row("last code point", "\xF4\x8F\xBF\xBF", 0, QString::fromUcs4(U"\U0010FFFF", 1));
        row("zero", QByteArray("\0a", 2), 0, QString(QChar(0)) + QLatin1Char('a'));
    }
    void decodesLikeTheEncodingStandard() {
        QFETCH(const QByteArray, bytes);
        for (qsizetype size = 1; size <= bytes.size(); ++size)
            QTEST(read(piecesOf(bytes, [size] { return size; })).text, "text");
    }

    void reportsUpToTheLimitAreRead() {
        const QByteArray frame = R"({"type":"search","query":""})";
        const auto sized = [&frame](qsizetype size) {
            QByteArray json = frame;
            return report(json.insert(json.size() - 2, QByteArray(size - frame.size(), 'q')));
        };
        const auto stream = QByteArray("a") + sized(AnswerFraming::maxEventSize) + "b" +
                            sized(AnswerFraming::maxEventSize + 1) + "c" +
                            report(R"({"type":"phase","phase":"p"})");
        const Outcome whole = read({stream});
        QCOMPARE(whole.text, u"abc"_qs);
        QCOMPARE(whole.activities.size(), 2); // the larger one is dropped, the next is read again
        QCOMPARE(whole.activities.first().size(), AnswerFraming::maxEventSize - frame.size() + 17);
        QRandomGenerator random(21);
        for (int round = 0; round < 5; ++round)
            QVERIFY(read(piecesOf(stream, [&] { return random.bounded(300'001); })) == whole);
        const Outcome open =
            read({QByteArray("a\x1E{\"error\":\"") + QByteArray(AnswerFraming::maxEventSize, 'e')});
        QVERIFY(open.isInsideEvent);
        QCOMPARE(open.error, QString());
    }
};

QTEST_GUILESS_MAIN(TestAnswerFraming)
#include "TestAnswerFraming.moc"
