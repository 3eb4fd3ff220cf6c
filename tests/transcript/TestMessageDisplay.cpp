#include "InlineFiles.h"
#include "MessageDisplay.h"

#include "RecordCodec.h"

#include <QTest>

using namespace teskal;

/// The message objects that the page gets.
class TestMessageDisplay final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void storedAndShown_data();
    void storedAndShown();
    void chatObject();
};

void TestMessageDisplay::storedAndShown_data() {
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QByteArray>("shown");
    const auto row = [](const char* name, const QByteArray& stored, const QByteArray& shown) {
        const QByteArray head = R"({"id":"m","role":"assistant","content":"a\nb")";
        QTest::newRow(name) << head + stored + '}' << head + shown + '}';
    };
    const QByteArray file = R"("name":"n.png","mediaType":"image/png")";
    const QByteArray plain =
        R"(,"route":{"model":"m","web":true},"activity":{"searches":["x"]},"pending":true,)"
        R"("error":{"code":"C","message":"E"})";
    row("nothing more", "", "");
    row("what is kept as received", plain, plain);
    row("stored file", R"(,"attachments":[{)" + file + R"(,"fileId":"f-1"}])",
        R"(,"attachments":[{)" + file + R"(,"fileId":"f-1","url":"teskal-app://file/f-1"}])");
    row("stored file with its data",
        R"(,"attachments":[{)" + file + R"(,"dataUrl":"data:x","fileId":"f-1"}])",
        R"(,"attachments":[{)" + file + R"(,"fileId":"f-1","url":"teskal-app://file/f-1"}])");
    row("inline file", R"(,"attachments":[{)" + file + R"(,"dataUrl":"data:x"}])",
        R"(,"attachments":[{)" + file + R"(,"dataUrl":"data:x"}])");
    row("dropped file", R"(,"attachments":[{)" + file + R"(,"dropped":true}])",
        R"(,"attachments":[{)" + file + R"(,"dropped":true}])");
    row("stored result", R"(,"media":{"type":"video","status":"done","fileId":"f-2"})",
        R"(,"media":{"type":"video","url":"teskal-app://file/f-2","status":"done","fileId":"f-2"})");
    row("result elsewhere, stored too", R"(,"media":{"type":"video","url":"https://x/y","fileId":"f-2"})",
        R"(,"media":{"type":"video","url":"teskal-app://file/f-2","fileId":"f-2"})");
    row("inline result", R"(,"media":{"type":"image","url":"data:x","fileId":"f-2"})",
        R"(,"media":{"type":"image","url":"data:x","fileId":"f-2"})");
    row("result elsewhere", R"(,"media":{"type":"video","url":"https://x/y"})",
        R"(,"media":{"type":"video","url":"https://x/y"})");
}

void TestMessageDisplay::storedAndShown() {
    QFETCH(const QByteArray, stored);
    InlineFiles files;
    QTEST(displayJson(decodeRecord<ChatMessage>(stored, Source::LocalFile), files), "shown");
}

void TestMessageDisplay::chatObject() {
    ChatMessage message;
    message.id = QStringLiteral("m");
    InlineFiles files;
    QCOMPARE(displayJson(QStringLiteral("c\"1"), {}, files), R"({"id":"c\"1","messages":[]})");
    QCOMPARE(
        displayJson(QStringLiteral("c"), {message, message}, files),
        R"({"id":"c","messages":[{"id":"m","role":"user","content":""},{"id":"m","role":"user","content":""}]})");
}

QTEST_GUILESS_MAIN(TestMessageDisplay)
#include "TestMessageDisplay.moc"
