#include "Columns.h"
#include "FitBody.h"

#include "NaiveFit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

using namespace teskal::test;

namespace {

ChatMessage message(const QString& content, const QList<Attachment>& files = {}, Role role = Role::User) {
    return {u"never sent"_qs, role, content, files, {}, {}, false, {}, {}};
}

Attachment image(const QString& name, qsizetype size = 3) {
    return {name, u"image/png"_qs, QString(size, u'A'), std::nullopt, false};
}

Attachment pdf(const QString& name, qsizetype size = 3) {
    return {name, u"application/pdf"_qs, QString(size, u'B'), std::nullopt, false};
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
        messages.append(each[u"content"].toString() +
                        QString(each[u"attachments"].toArray().size(), QLatin1Char('+')));
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
        static const QStringList texts{QString(),        u"plain"_qs,
                                       u"q\"uo\\te/"_qs, u"line\nbreak\ttab\x01\x1f\x7f"_qs,
                                       u"é€😀 %1 %2"_qs,  u"</script>\u2028"_qs};
        return texts[random_.bounded(int(texts.size()))];
    }

    QList<Attachment> files() {
        QList<Attachment> made;
        while (random_.bounded(2))
            made.append(file());
        return made;
    }

    Attachment file() {
        static const QStringList types{u"application/pdf"_qs, u"text/plain"_qs, u"ximage/png"_qs,
                                       u"image/png"_qs, u"image/"_qs};
        Attachment made;
        made.name = text();
        made.mediaType = types[random_.bounded(withImages_ ? 5 : 3)];
        if (random_.bounded(4) == 0)
            made.fileId = u"f1"_qs + text();
        if (random_.bounded(4) != 0)
            made.dataUrl = u"data:x;base64,"_qs +
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
        Attachment stored = image(u"a.png"_qs);
        stored.fileId = u"f-1"_qs;
        const Attachment dropped{u"gone.pdf"_qs, u"application/pdf"_qs, {}, {}, true};
        ChatMessage rich = message(u"hi"_qs, {stored, dropped, pdf(u"b.pdf"_qs)});
        rich.route = JSONValue(u"r"_qs);
        rich.pending = true;
        QCOMPARE(fitted({rich, message(QString(), {dropped}, Role::Assistant)}),
                 R"([{"role":"user","content":"hi","attachments":[{"mediaType":"image/png","fileId":"f-1"},)"
                 R"({"mediaType":"application/pdf","dataUrl":"BBB"}]},{"role":"assistant","content":""}])");
    }

    void olderFilesBecomeMarkers() {
        const auto n = [](int i) { return u"m%1"_qs.arg(i); };
        QList<ChatMessage> seven;
        for (int i = 0; i < 7; ++i)
            seven.append(message(n(i)));
        seven[0].role = Role::Assistant;
        seven[0].attachments = {image(u"old %1.png"_qs), pdf(QString())};
        seven[1].attachments = {pdf(u"kept, one of the last six.pdf"_qs)};
        seven[4].attachments = {image(u"new.png"_qs)};
        QCOMPARE(shape(fitted(seven)),
                 (QStringList{u"m0\n\n[attached earlier: old %1.png] [attached earlier: file]"_qs, u"m1+"_qs,
                              n(2), n(3), u"m4+"_qs, n(5), n(6)}));
        QVERIFY(fitted(seven).startsWith("[{\"role\":\"assistant\","));

        // The last image stays however old it is, with what came beside it; without words there is only the
        // marker.
        seven.prepend(message(QString(), {pdf(u"p"_qs)}));
        seven.prepend(message(QString(), {image(u"last.png"_qs), pdf(u"beside"_qs)}));
        seven[2].attachments = {};
        seven[6].attachments = {};
        QCOMPARE(shape(fitted(seven)).first(3), (QStringList{u"++"_qs, u"[attached earlier: p]"_qs, n(0)}));
    }

    void imagesDecideWhetherSizeMatters_data() {
        const auto row = columns<QList<ChatMessage>, QStringList>("conversation", "messages");
        constexpr qsizetype big = 2'500'000;
        const QString s = u"s"_qs;
        const auto marker = [](const char* name) {
            return u"s\n\n[attached earlier: %1]"_qs.arg(QLatin1String(name));
        };
        const auto bigPdf = [&] { return message(s, {pdf(u"p"_qs, big)}); };
        const auto bigImage = [&] { return message(s, {image(u"i"_qs, big)}); };
        row("only PDFs: nothing is taken", QList<ChatMessage>{bigPdf(), bigPdf(), bigPdf()},
            QStringList{u"s+"_qs, u"s+"_qs, u"s+"_qs});
        row("an image somewhere", QList<ChatMessage>{bigPdf(), bigPdf(), bigPdf(), message(s, {image(s)})},
            QStringList{marker("p"), marker("p"), u"s+"_qs, u"s+"_qs});
        row("the last image too", QList<ChatMessage>{bigImage(), message(s), bigImage(), bigPdf()},
            QStringList{marker("i"), s, marker("i"), u"s+"_qs});
        row("never the last message",
            QList<ChatMessage>{message(s, {image(s)}), message(s, {image(s, 2 * big)})},
            QStringList{marker("s"), u"s+"_qs});
        row("a single message", QList<ChatMessage>{message(s, {image(s, 2 * big)})}, QStringList{u"s+"_qs});
        row("none", QList<ChatMessage>{}, QStringList{});
    }
    void imagesDecideWhetherSizeMatters() {
        QFETCH(const QList<ChatMessage>, conversation);
        QTEST(shape(fitted(conversation)), "messages");
    }

    void theLimitIsExact() {
        for (const int size : {3'999'999, 4'000'000, 4'000'001}) {
            QList<ChatMessage> conversation{message(u"é\n"_qs, {image(u"i"_qs)}), message(u"😀"_qs)};
            const qsizetype rest =
                fitted(conversation).size() - conversation[0].attachments[0].dataUrl->size();
            conversation[0].attachments = {image(u"i"_qs, size - rest)};
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
        FETCH(int, histories, int, mostMessages, int, largestFile);
        Histories source(23);
        for (int i = 0; i < histories; ++i) {
            const QList<ChatMessage> conversation = source.next(mostMessages, largestFile);
            const QByteArray ours = fitted(conversation);
            QVERIFY2(ours == bench::naiveFit(outgoing(conversation)), qPrintable(u"history %1"_qs.arg(i)));
            QCOMPARE(QJsonDocument::fromJson(ours).array().size(), conversation.size());
        }
    }
};

QTEST_GUILESS_MAIN(TestFitBody)
#include "TestFitBody.moc"
