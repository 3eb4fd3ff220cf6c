#include "ChatClient.h"
#include "ServiceControl.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString chatPath = QStringLiteral("/api/chat");

} // namespace

/// The chat call against the local service: what one side writes, the other one reads.
class TestChatService final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { token_ = control_.accessToken(); }
    void cleanup() { control_.post(QStringLiteral("reset"), QJsonObject()); }
    void everyWordGetsItsAnswer_data();
    void everyWordGetsItsAnswer();
    void theCutOfTheStreamDoesNotShow();
    void theServiceReadsWhatIsSent();
    void unknownTokenIsASessionThatEnded();
    void lostReplyIsNotAskedForAgain_data();
    void lostReplyIsNotAskedForAgain();

private:
    LocalService service_;
    ServiceControl control_{service_};
    QString token_;
};

void TestChatService::everyWordGetsItsAnswer_data() {
    QTest::addColumn<QString>("outcome"); // its beginning
    QTest::addColumn<QString>("report");  // part of the last one
    const auto row = [](const char* question, const char* outcome, const char* report = "") {
        QTest::newRow(question) << QString::fromUtf8(outcome) << QString::fromUtf8(report);
    };
    row("Hello there", "text: ", R"("phase":")");
    row("a table please", "text: ");
    row("some math", "text: ");
    row("search the web", "text: ", R"("searches":[")");
    row("plan a trip", "text: ", R"("steps":[")");
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

void TestChatService::everyWordGetsItsAnswer() {
    QFETCH(const QString, outcome);
    QFETCH(const QString, report);
    ChatClient client(service_.origin(), token_);
    auto call = client.ask(QString::fromUtf8(QTest::currentDataTag()));
    const QString ended = outcomeOf(call);
    QVERIFY2(ended.startsWith(outcome), qPrintable(ended.left(200)));
    QVERIFY2(!ended.contains(QChar::ReplacementCharacter), "a character was cut");
    const bool refused =
        outcome.startsWith(QLatin1String("API")) && !outcome.startsWith(QLatin1String("API 502"));
    QCOMPARE(client.routes.size(), refused ? 0 : 1);
    if (!report.isEmpty())
        QVERIFY(client.told.filter(QStringLiteral("activity: ")).last().contains(report));
    if (ended.startsWith(QLatin1String("text: ")))
        QCOMPARE(QStringLiteral("text: ") + client.texts.last(), ended);
}

void TestChatService::theCutOfTheStreamDoesNotShow() {
    const QByteArray stream =
        "H\xC3\xA9llo \xE2\x82\xAC\x1E{\"type\":\"phase\",\"phase\":\"\xC3\xA9\"}\x1D\xF0\x9F"
        "\x1E{\"type\":\"search\",\"query\":\"x\"}\x1D\x98\x80 bad \xFF\xE2\x82 end";
    for (const int size : {1, 2, 3, 5, 7, 64}) {
        control_.next({{QStringLiteral("path"), chatPath},
                       {QStringLiteral("rawStream"), QString::fromLatin1(stream.toBase64())},
                       {QStringLiteral("chunks"), QJsonArray{size}}});
        ChatClient client(service_.origin(), token_);
        auto call = client.ask(QStringLiteral("Hi"));
        QCOMPARE(outcomeOf(call), QStringLiteral("text: Héllo €😀 bad \uFFFD\uFFFD end"));
        QCOMPARE(client.told.filter(QStringLiteral("activity: ")),
                 (QStringList{QStringLiteral("activity: {\"phase\":\"é\",\"searches\":[]}"),
                              QStringLiteral("activity: {\"phase\":\"é\",\"searches\":[\"x\"]}")}));
    }
}

void TestChatService::theServiceReadsWhatIsSent() {
    ChatMessage question = ChatClient::userMessage(QStringLiteral("What is “this” \\ 😀?\n"));
    Attachment file;
    file.name = QStringLiteral("not sent.png");
    file.mediaType = QStringLiteral("image/png");
    file.dataUrl = QStringLiteral("data:image/png;base64,AA==");
    question.attachments = {file};
    ChatMessage answer = ChatClient::userMessage(QStringLiteral("That."));
    answer.role = Role::Assistant;
    ChatClient client(service_.origin(), token_);
    auto call = client.ask({question, answer, question}, true);
    QVERIFY(outcomeOf(call).startsWith(QLatin1String("text: ")));

    const QJsonObject request = control_.lastRequest(chatPath);
    const QJsonObject attachment{{QStringLiteral("mediaType"), QStringLiteral("image/png")},
                                 {QStringLiteral("dataUrl"), *file.dataUrl}};
    const QJsonObject asked{{QStringLiteral("role"), QStringLiteral("user")},
                            {QStringLiteral("content"), question.content},
                            {QStringLiteral("attachments"), QJsonArray{attachment}}};
    const QJsonObject answered{{QStringLiteral("role"), QStringLiteral("assistant")},
                               {QStringLiteral("content"), answer.content}};
    QCOMPARE(request.value(QLatin1String("json")),
             (QJsonObject{{QStringLiteral("messages"), QJsonArray{asked, answered, asked}}}));
    QCOMPARE(request.value(QLatin1String("headers"))[QLatin1String("x-teskal-private")], QStringLiteral("1"));
}

void TestChatService::unknownTokenIsASessionThatEnded() {
    ChatClient client(service_.origin(), QStringLiteral("unknown"));
    auto call = client.ask(QStringLiteral("Hi"));
    const QString ended = outcomeOf(call);
    QVERIFY2(ended.startsWith(QLatin1String("API 401 ")), qPrintable(ended));
    QVERIFY(client.told.isEmpty());
}

void TestChatService::lostReplyIsNotAskedForAgain_data() {
    QTest::addColumn<QJsonObject>("override");
    QTest::newRow("closed") << QJsonObject{{QStringLiteral("drop"), true}};
    QTest::newRow("reset") << QJsonObject{{QStringLiteral("drop"), QStringLiteral("reset")}};
    QTest::newRow("cut") << QJsonObject{{QStringLiteral("truncateAfterBytes"), 20}};
}

void TestChatService::lostReplyIsNotAskedForAgain() {
    QFETCH(QJsonObject, override);
    override.insert(QStringLiteral("path"), chatPath);
    control_.next(override);
    ChatClient client(service_.origin(), token_);
    auto call = client.ask(QStringLiteral("a long one"));
    QCOMPARE(outcomeOf(call), QStringLiteral("HTTP %1").arg(int(HttpError::Kind::ConnectionLost)));
    QCOMPARE(control_.requests(chatPath).size(), 1);
}

QTEST_GUILESS_MAIN(TestChatService)
#include "TestChatService.moc"
