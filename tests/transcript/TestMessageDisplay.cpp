#include "Columns.h"
#include "InlineFiles.h"
#include "MessageDisplay.h"

#include "IDs.h"
#include "RecordCodec.h"

#include <QRegularExpression>

using namespace teskal::test;

namespace {

/// Stands for what is no base64.
const QByteArray broken("broken");

} // namespace

/// The message objects that the page gets.
class TestMessageDisplay final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void storedAndShown_data();
    void storedAndShown() {
        QFETCH(const QByteArray, stored);
        InlineFiles files;
        QTEST(displayJson(decodeRecord<ChatMessage>(stored, Source::LocalFile), files), "shown");
    }

    void inlineFiles_data() {
        // bytes: empty when the file travels as it is
        columns<QString, QString, QByteArray, QString>("type", "data", "bytes", "servedType");
        const QString large(40000, u'A');
        const QByteArray zeros(30000, '\0');
        const QString png = u"image/png"_qs;
        const auto row = [](const char* name, const QString& type, const QString& data,
                            const QByteArray& bytes) {
            QTest::newRow(name) << type << data << bytes << type.section(u';', 0, 0).toLower();
        };
        row("image", png, large, zeros);
        row("capitals and a parameter", u"Image/SVG+xml;charset=utf-8"_qs, large, zeros);
        row("video", u"video/mp4"_qs, large, zeros);
        row("PDF", u"application/pdf"_qs, large, zeros);
        row("every character, one padding", png, u"AA8="_qs.rightJustified(40000, u'/').replace(u'z', u'+'),
            QByteArray::fromBase64(QByteArray("AA8=").rightJustified(40000, '/')));
        row("two paddings", png, large.chopped(2) + u"=="_qs, zeros.chopped(2));
        row("no padding", png, large.chopped(2), zeros.chopped(2));
        row("three paddings", png, large.chopped(3) + u"==="_qs, broken);
        row("padding inside", png, large + u"A=AA"_qs, broken);
        row("wrong length", png, large + u'A', broken);
        row("stray character", png, large.chopped(4) + u"A-AA"_qs, broken);
        row("beyond Latin-1", png, large.chopped(4) + u"AA\u0141A"_qs, broken);
        row("small", png, u"AAAA"_qs, {});
        row("at the limit", png, QString(16 * 1024 - 22, u'A'), {});
        row("text", u"text/html"_qs, large, {});
        row("no type", QString(), large, {});
        row("type with a line end", u"image/png\r\nx: y"_qs, large, {});
        row("an endless head", png + QString(300, u' '), large, {});
    }

    void inlineFiles() {
        FETCH(QString, type, QString, data, QByteArray, bytes);
        const QString url = u"data:%1;base64,%2"_qs.arg(type, data);
        InlineFiles files;
        ChatMessage message;
        message.attachments.append(Attachment{{}, {}, url, {}, false});
        message.media = Media{};
        message.media->url = url;
        message.media->fileId = u"f-1"_qs; // what is here already is not fetched
        const QByteArray shown = displayJson(message, files);
        const std::optional<QString> id = files.identify(url);
        QCOMPARE(id.has_value(), !bytes.isEmpty());
        QCOMPARE(shown.contains("base64"), !id);
        if (!id)
            return;
        QCOMPARE(shown.count("\"url\":\"teskal-app://file/" + id->toUtf8() + '"'), 2);
        const std::optional<PageFile> file = files.find(*id);
        QVERIFY((file ? file->bytes : broken) == bytes);
        if (file)
            QTEST(file->mediaType, "servedType");
    }

    void sameFileSameIdentifier() {
        InlineFiles files;
        const QString url = u"data:image/png;base64,"_qs + QString(40000, u'A');
        QString copy = url;
        copy.detach();
        const QString id = files.identify(url).value();
        static const QRegularExpression asThePageTakesIt(u"\\A[A-Za-z0-9_-]+\\z"_qs);
        QVERIFY(asThePageTakesIt.match(id).hasMatch() && !IDs::isSyncable(id));
        QCOMPARE(files.identify(url).value(), id);
        QCOMPARE(files.identify(copy).value(), id);
        copy[copy.size() - 1] = u'B'; // another file, in another buffer or in this one
        QVERIFY(files.identify(copy).value() != id);
        files.clear();
        QVERIFY(!files.find(id));
        QVERIFY(files.identify(url).value() != id); // the page may still hold what it got under the old one
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestMessageDisplay::storedAndShown_data() {
    columns<QByteArray, QByteArray>("stored", "shown");
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

QTEST_GUILESS_MAIN(TestMessageDisplay)
#include "TestMessageDisplay.moc"
