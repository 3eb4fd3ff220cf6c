#include "ChatClient.h"
#include "Columns.h"
#include "ServiceControl.h"

using namespace teskal::test;

/// The chat call against the local service: what one side writes, the other one reads.
class TestChatService final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { token_ = control_.accessToken(); }

    void everyWordGetsItsAnswer_data() {
        // outcome: its beginning; report: part of the last one
        const auto row = columns<QString, QString>("outcome", "report");
        row("Hello there", "text: ", "\"phase\":\"");
        row("a table please", "text: ");
        row("some math", "text: ");
        row("search the web", "text: ", "\"searches\":[\"");
        row("plan a trip", "text: ", "\"steps\":[\"");
        row("show me everything", "text: ");
        row("a long one", "text: ");
        row("draw an image of a cat", "image: data:image/png;base64,");
        row("make a video", "video: ");
        row("make a song", "music: ");
        row("error credits", "API 402 INSUFFICIENT_CREDITS: ");
        row("error busy", "API 503 ");
        row("error", "API 500 ");
        row("cut", "API 502 CUT_OFF: The answer was cut off before it finished. Ask again to retry.");
        row("cut error", "API 502 CUT_OFF: ");
        row("empty", "API 502 -: No answer came back. Try again.");
    }
    void everyWordGetsItsAnswer() {
        FETCH(QString, outcome, QString, report);
        ChatClient client(service_.origin(), token_);
        const QString ended = outcomeOf(client.ask(QString::fromUtf8(QTest::currentDataTag())));
        QVERIFY2(ended.startsWith(outcome), qPrintable(ended.left(200)));
        QVERIFY2(!ended.contains(QChar::ReplacementCharacter), "a character was cut");
        const bool refused = outcome.startsWith(u"API") && !outcome.startsWith(u"API 502");
        QCOMPARE(client.routes.size(), refused ? 0 : 1);
        if (outcome.startsWith(u"image")) {
            const QString data = ended.section(QLatin1Char(','), 1, 1);
            QVERIFY(!QImage::fromData(QByteArray::fromBase64(data.toLatin1())).isNull());
        }
        if (!report.isEmpty())
            QVERIFY(client.told.filter(u"activity: "_qs).last().contains(report));
        if (ended.startsWith(u"text: "))
            QCOMPARE(u"text: "_qs + client.texts.last(), ended);
    }

private:
    LocalService service_;
    ServiceControl control_{service_};
    QString token_;
};

QTEST_GUILESS_MAIN(TestChatService)
#include "TestChatService.moc"
