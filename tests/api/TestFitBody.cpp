#include "Columns.h"
#include "FitBody.h"

#include "NaiveFit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

ChatMessage message(const QString& content, const QList<Attachment>& files = {}, Role role = Role::User) {
    ChatMessage made;
    made.id = QStringLiteral("never sent");
    made.role = role;
    made.content = content;
    made.attachments = files;
    return made;
}

Attachment inlineFile(const QString& name, const QString& type, const QString& data) {
    Attachment file;
    file.name = name;
    file.mediaType = type;
    file.dataUrl = data;
    return file;
}

Attachment image(const QString& name, qsizetype size = 3) {
    return inlineFile(name, QStringLiteral("image/png"), QString(size, QLatin1Char('A')));
}

Attachment pdf(const QString& name, qsizetype size = 3) {
    return inlineFile(name, QStringLiteral("application/pdf"), QString(size, QLatin1Char('B')));
}

QList<OutgoingMessage> outgoing(const QList<ChatMessage>& conversation) {
    QList<OutgoingMessage> messages;
    for (const ChatMessage& each : conversation)
        messages.append(OutgoingMessage::from(each));
    return messages;
}

QByteArray fitted(const QList<ChatMessage>& conversation) {
    return fitBody(outgoing(conversation));
}

/// Contents of the fitted messages, with a "+" for each file that is still there.
QStringList shape(const QByteArray& body) {
    QStringList messages;
    const QJsonArray array = QJsonDocument::fromJson(body).array();
    for (const QJsonValue& each : array)
        messages.append(each[QLatin1String("content")].toString() +
                        QString(each[QLatin1String("attachments")].toArray().size(), QLatin1Char('+')));
    return messages;
}

/// Conversations of every kind that matters: few and many messages, with and without images, odd names.
class Histories {
public:
    explicit Histories(quint32 seed) : random_(seed) {}

    QList<ChatMessage> next(int most, qsizetype largestFile) {
        withImages_ = random_.bounded(3) != 0;
        largestFile_ = largestFile;
        QList<ChatMessage> conversation;
        const int count = random_.bounded(most + 1);
        for (int i = 0; i < count; ++i)
            conversation.append(message(text(), files(), random_.bounded(2) ? Role::User : Role::Assistant));
        return conversation;
    }

private:
    QString text() {
        static const QStringList texts{QString(),
                                       QStringLiteral("plain"),
                                       QStringLiteral("q\"uo\\te/"),
                                       QStringLiteral("line\nbreak\ttab\x01\x1f\x7f"),
                                       QStringLiteral("é€😀 %1 %2"),
                                       QStringLiteral("</script>\u2028")};
        return texts[random_.bounded(int(texts.size()))];
    }

    QList<Attachment> files() {
        QList<Attachment> made;
        while (random_.bounded(2))
            made.append(file());
        return made;
    }

    Attachment file() {
        static const QStringList types{QStringLiteral("application/pdf"), QStringLiteral("text/plain"),
                                       QStringLiteral("ximage/png"), QStringLiteral("image/png"),
                                       QStringLiteral("image/")};
        Attachment made;
        made.name = text();
        made.mediaType = types[random_.bounded(withImages_ ? 5 : 3)];
        if (random_.bounded(4) == 0)
            made.fileId = QStringLiteral("f1") + text();
        if (random_.bounded(4) != 0)
            made.dataUrl = QStringLiteral("data:x;base64,") +
                           QString(qsizetype(random_.bounded(quint32(largestFile_))),
                                   random_.bounded(2) ? QChar(u'Z') : QChar(u'é')) +
                           text();
        return made; // with neither it is left out
    }

    QRandomGenerator random_;
    bool withImages_ = false;
    qsizetype largestFile_ = 0;
};

} // namespace

/// What of a conversation is sent.
class TestFitBody final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void outgoingMessages() {
        Attachment stored = image(QStringLiteral("a.png"));
        stored.fileId = QStringLiteral("f-1");
        Attachment dropped;
        dropped.name = QStringLiteral("gone.pdf");
        dropped.mediaType = QStringLiteral("application/pdf");
        dropped.dropped = true;
        ChatMessage rich = message(QStringLiteral("hi"), {stored, dropped, pdf(QStringLiteral("b.pdf"))});
        rich.route = JSONValue(QStringLiteral("r"));
        rich.pending = true;
        QCOMPARE(fitted({rich, message(QString(), {dropped}, Role::Assistant)}),
                 R"([{"role":"user","content":"hi","attachments":[{"mediaType":"image/png","fileId":"f-1"},)"
                 R"({"mediaType":"application/pdf","dataUrl":"BBB"}]},{"role":"assistant","content":""}])");
    }

    void olderFilesBecomeMarkers() {
        const auto n = [](int i) { return QStringLiteral("m%1").arg(i); };
        QList<ChatMessage> seven;
        for (int i = 0; i < 7; ++i)
            seven.append(message(n(i)));
        seven[0].role = Role::Assistant;
        seven[0].attachments = {image(QStringLiteral("old %1.png")), pdf(QString())};
        seven[1].attachments = {pdf(QStringLiteral("kept, one of the last six.pdf"))};
        seven[4].attachments = {image(QStringLiteral("new.png"))};
        QCOMPARE(shape(fitted(seven)),
                 (QStringList{QStringLiteral("m0\n\n[attached earlier: old %1.png] [attached earlier: file]"),
                              QStringLiteral("m1+"), n(2), n(3), QStringLiteral("m4+"), n(5), n(6)}));
        QVERIFY(fitted(seven).startsWith("[{\"role\":\"assistant\","));

        // The last image stays however old it is, with what came beside it; without words there is only the
        // marker.
        seven.prepend(message(QString(), {pdf(QStringLiteral("p"))}));
        seven.prepend(message(QString(), {image(QStringLiteral("last.png")), pdf(QStringLiteral("beside"))}));
        seven[2].attachments = {};
        seven[6].attachments = {};
        QCOMPARE(shape(fitted(seven)).first(3),
                 (QStringList{QStringLiteral("++"), QStringLiteral("[attached earlier: p]"), n(0)}));
    }

    void imagesDecideWhetherSizeMatters_data() {
        const auto row = columns<QList<ChatMessage>, QStringList>("conversation", "messages");
        constexpr qsizetype big = 2'500'000;
        const QString s = QStringLiteral("s");
        const auto marker = [](const char* name) {
            return QStringLiteral("s\n\n[attached earlier: %1]").arg(QLatin1String(name));
        };
        const auto bigPdf = [&] { return message(s, {pdf(QStringLiteral("p"), big)}); };
        const auto bigImage = [&] { return message(s, {image(QStringLiteral("i"), big)}); };
        row("only PDFs: nothing is taken", QList<ChatMessage>{bigPdf(), bigPdf(), bigPdf()},
            QStringList{QStringLiteral("s+"), QStringLiteral("s+"), QStringLiteral("s+")});
        row("an image somewhere", QList<ChatMessage>{bigPdf(), bigPdf(), bigPdf(), message(s, {image(s)})},
            QStringList{marker("p"), marker("p"), QStringLiteral("s+"), QStringLiteral("s+")});
        row("the last image too", QList<ChatMessage>{bigImage(), message(s), bigImage(), bigPdf()},
            QStringList{marker("i"), s, marker("i"), QStringLiteral("s+")});
        row("never the last message",
            QList<ChatMessage>{message(s, {image(s)}), message(s, {image(s, 2 * big)})},
            QStringList{marker("s"), QStringLiteral("s+")});
        row("a single message", QList<ChatMessage>{message(s, {image(s, 2 * big)})},
            QStringList{QStringLiteral("s+")});
        row("none", QList<ChatMessage>{}, QStringList{});
    }
    void imagesDecideWhetherSizeMatters() {
        QFETCH(const QList<ChatMessage>, conversation);
        QTEST(shape(fitted(conversation)), "messages");
    }

    void theLimitIsExact() {
        for (const int size : {3'999'999, 4'000'000, 4'000'001}) {
            QList<ChatMessage> conversation{message(QStringLiteral("é\n"), {image(QStringLiteral("i"))}),
                                            message(QStringLiteral("😀"))};
            const qsizetype rest =
                fitted(conversation).size() - conversation[0].attachments[0].dataUrl->size();
            conversation[0].attachments = {image(QStringLiteral("i"), size - rest)};
            const QByteArray body = fitted(conversation);
            QCOMPARE(body, bench::naiveFit(outgoing(conversation)));
            QCOMPARE(body.size() == size, size <= 4'000'000);
        }
    }

    void likeTheNaiveLoop_data() {
        const auto row = columns<int, int, int>("histories", "mostMessages", "largestFile");
        row("small", 400, 14, 40);
        row("around the limit", 8, 9, 1'500'000);
        row("far above", 3, 10, 4'500'000);
    }
    void likeTheNaiveLoop() {
        QFETCH(const int, histories);
        QFETCH(const int, mostMessages);
        QFETCH(const int, largestFile);
        Histories source(23);
        for (int i = 0; i < histories; ++i) {
            const QList<ChatMessage> conversation = source.next(mostMessages, largestFile);
            const QByteArray ours = fitted(conversation);
            QVERIFY2(ours == bench::naiveFit(outgoing(conversation)),
                     qPrintable(QStringLiteral("history %1").arg(i)));
            QCOMPARE(QJsonDocument::fromJson(ours).array().size(), conversation.size());
        }
    }
};

QTEST_GUILESS_MAIN(TestFitBody)
#include "TestFitBody.moc"
