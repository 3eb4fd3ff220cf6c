#include "Corpus.h"
#include "WaitUntil.h"
#include "WatchedPage.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>
#include <QWebEngineProfile>

#include <algorithm>
#include <memory>

using namespace teskal::test;

Q_DECLARE_METATYPE(teskal::test::Payload)

namespace {

/// What is longer goes only into the text of a message, where long texts belong.
constexpr int longestInFields = 4096;
/// ms of a loop of 50 million turns in the page, on the machine for which 200 ms are stated.
constexpr double usualLoop = 55;

/// ms that anything may hold up the page, on that machine.
constexpr double longestFreeze = 200;

QJsonObject message(const QString& role, const QString& content) {
    return {{u"id"_qs, u"m-"_qs + role}, {u"role"_qs, role}, {u"content"_qs, content}};
}

QJsonObject answer(const QString& content) {
    return message(u"assistant"_qs, content);
}

QJsonObject growingAnswer(const QString& content, bool pending) {
    QJsonObject made = answer(content);
    made.insert(u"id"_qs, u"growing"_qs);
    if (pending)
        made.insert(u"pending"_qs, true);
    return made;
}

/// \a text in every member that holds text.
QJsonObject everywhere(const QString& text) {
    QJsonObject made = answer(u"Said"_qs);
    made.insert(u"id"_qs, text);
    made.insert(u"route"_qs, QJsonObject{{u"name"_qs, text},
                                         {u"model"_qs, text},
                                         {u"lab"_qs, text},
                                         {u"task"_qs, text},
                                         {u"difficulty"_qs, text},
                                         {u"effort"_qs, text},
                                         {u"anonymized"_qs, text},
                                         {u"reason"_qs, text}});
    made.insert(u"error"_qs, QJsonObject{{u"code"_qs, text}, {u"message"_qs, text}});
    made.insert(u"media"_qs, QJsonObject{{u"type"_qs, u"music"_qs},
                                         {u"url"_qs, text},
                                         {u"prompt"_qs, text},
                                         {u"message"_qs, text},
                                         {u"status"_qs, u"error"_qs},
                                         {u"fileId"_qs, text},
                                         {u"mediaType"_qs, text},
                                         {u"lyrics"_qs, text}});
    return made;
}

QJsonObject underWay(const QString& text) {
    QJsonObject made = growingAnswer(QString(), true);
    const QJsonArray twice{text, text + QLatin1Char('2')};
    made.insert(u"activity"_qs,
                QJsonObject{{u"phase"_qs, text}, {u"searches"_qs, twice}, {u"steps"_qs, twice}});
    return made;
}

QJsonObject asked(const QString& text) {
    QJsonObject made = message(u"user"_qs, text);
    const QString image = u"image/png"_qs;
    made.insert(u"attachments"_qs,
                QJsonArray{QJsonObject{{u"name"_qs, text}, {u"mediaType"_qs, image}, {u"url"_qs, text}},
                           QJsonObject{{u"name"_qs, text}, {u"mediaType"_qs, text}, {u"dataUrl"_qs, text}}});
    return made;
}

} // namespace

/// What people and models may write to do harm: every payload is shown whole and as it grows, and nothing may
/// come of it but text.
class TestHostile : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        texts_ = asked_ = payloadsIn(u"text.json"_qs);
        for (const char* file : {"markup.json", "links.json", "structure.json", "formulas.json"}) {
            for (const Payload& each : payloadsIn(QLatin1String(file))) {
                texts_.append(each);
                if (each.value.toString().size() <= longestInFields)
                    asked_.append(each);
            }
        }
        const QList<Payload> all = texts_ + records_ + calls_ + previews_;
        QSet<QByteArray> different;
        for (const Payload& each : all)
            different.insert(literal(each.value));
        QCOMPARE(different.size(), all.size());
        QVERIFY2(different.size() >= 150, "the corpus has shrunk");
        measureMachine();
    }

    void cleanup() {
        const QString problems = std::exchange(problems_, {}).join(QLatin1Char('\n'));
        QVERIFY2(problems.isEmpty(), qUtf8Printable(problems));
    }

    void watchNotices_data() {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("offence");
        const auto script = [](const char* code, const char* offence) {
            QTest::newRow(code) << QString::fromLatin1(code) << QString::fromLatin1(offence);
        };
        script("pwned()", "script ran");
        script("alert(1)", "alert()");
        script("setTimeout(() => { throw new Error('x'); })", "error: ");
        script("dispatchEvent(new PromiseRejectionEvent('unhandledrejection', { promise: Promise.resolve(),"
               " reason: 'x' }))",
               "rejection: x");
        script("document.title = 'x'", "title x");
        script("location.hash = 'x'", "navigation: ");
        script("location.href = 'https://t.example/'", "navigation: https://t.example/");
        script("Object.prototype.polluted = 1", "prototype");
        script("window.teskal = {}", "teskal replaced");
        script("new Image().src = 'https://t.example/'", "policy: img-src https://t.example");
        script("new Image().src = 'teskal-app://t.example/x'", "policy: img-src teskal-app");
        script("new Image().src = 'teskal-app://file/a/../b%20c'", "request: teskal-app://file/b c");
        script("webkit.messageHandlers.teskal.postMessage({ type: 'retry' })", "message: ");
        script("webkit.messageHandlers.teskal.postMessage({ type: 'fetch', id: 1, path: '/api/keys', method: "
               "'GET',"
               " body: '' })",
               "message: ");
        script("webkit.messageHandlers.teskal.postMessage({ type: 'fetch', id: 1, method: 'GET', body: '',"
               " path: '/api/unfurl?url=file%3A%2F%2F%2Fx' })",
               "message: ");
        // By turns, not by the clock: a machine with other work may give the page little of that time.
        script("(() => { let sum = 0; for (let i = 0; i < 8e8; i += 1) sum = (sum * 31 + i) | 0; return sum; "
               "})()",
               "froze for ");
        script("const a = document.createElement('a'); a.href = 'https://t.example/'; a.dataset.test = '';"
               " document.body.append(a); a.click()",
               "link followed");

        const auto markup = [](const char* html, const char* offence) {
            QTest::newRow(html) << u"document.querySelector('.block').innerHTML = %1"_qs.arg(
                                       QString::fromLatin1(literal(QString::fromLatin1(html))))
                                << QString::fromLatin1(offence);
        };
        markup("<img src=x onerror=pwned()>", "policy: script-src");
        markup("<p onclick=pwned()>x</p>", "attribute p onclick");
        markup("<p style='background:url(x)'>x</p>", "policy: style-src");
        for (const char* name : {"script", "iframe", "object", "embed", "form", "input", "style", "link",
                                 "base", "meta", "svg", "math", "img", "template", "marquee", "video"})
            markup(qPrintable(u"<%1></%1>"_qs.arg(QLatin1String(name))),
                   qPrintable(u"element <%1>"_qs.arg(QLatin1String(name))));
        markup("<a href='javascript:pwned()'>x</a>", "attribute a href");
        markup("<a href='file:///x'>x</a>", "attribute a href");
        markup("<a href='https://bank.example@t.example/'>x</a>", "attribute a href");
        markup("<a ping='https://t.example/'>x</a>", "attribute a ping");
        markup("<p id=x>x</p>", "attribute p id");
        markup("<p id=to-end>x</p>", "#to-end twice");
        markup("<a name=teskal>x</a>", "attribute a name");
        markup("<p class=route>x</p>", "attribute p class");
        markup("<p class=math><span class=katex><svg><use xlink:href=x></use></svg></span></p>",
               "element <use>");
        script(
            "const span = document.createElement('span'); span.style.cssText = 'position: relative; top: "
            "-2000px';"
            " span.textContent = 'x'; document.querySelector('.answer-text').style.overflow = 'visible';"
            " const block = document.querySelector('.block');"
            " block.innerHTML = '<p class=math><span class=katex><span class=katex-html></span></span></p>';"
            " block.querySelector('.katex-html').append(span)",
            "formula over its message");
    }
    void watchNotices() {
        QFETCH(QString, script);
        QFETCH(QString, offence);
        QVERIFY(havePage());
        page_->evaluate(u"watch.forgetSabotage()"_qs);
        QVERIFY(showChat({answer(u"Said"_qs)}));
        QVERIFY(waitUntil([this] { return page_->takeOffences().isEmpty(); }));
        QVERIFY(page_->run(script));
        QStringList offences;
        const bool noticed = waitUntil([&] {
            offences += page_->takeOffences();
            return !offences.filter(offence).isEmpty();
        });
        QVERIFY2(noticed, qUtf8Printable(offences.join(QLatin1Char('\n'))));
    }

    void watchNoticesRequestsToHosts() {
        // The page's own policy lets none come so far, so another page of the same profile has to ask.
        QVERIFY(havePage());
        QWebEnginePage other(page_->profile());
        other.load(QUrl(u"https://t.example/x"_qs));
        QVERIFY(waitUntil(
            [&] { return page_->takeOffences().contains(QLatin1String("request: https://t.example/x")); }));
    }

    void watchNoticesLosses() {
        page_.reset(); // the last one was tampered with
        QVERIFY(havePage());
        QVERIFY(showChat({asked(u"Asked"_qs), answer(u"Said"_qs)}));
        QVERIFY(page_->holds(u"watch.says('Said') && watch.bubbleIs('Asked')"_qs));
        QVERIFY(!page_->holds(u"watch.says('Sad') || watch.bubbleIs('Aske')"_qs));
        QVERIFY(update("upsert", {growingAnswer(u"Said"_qs, false)}));
        QCOMPARE(page_->text(u"watch.differs()"_qs), QString());
        QVERIFY(update("upsert", {growingAnswer(u"Said *x*"_qs, false)}));
        QVERIFY(!page_->text(u"watch.differs()"_qs).isEmpty());
        page_->takeOffences();
        page_->evaluate(u"window.teskal.upsert(null)"_qs);
        QVERIFY(!page_->takeOffences().filter(u"upsert failed"_qs).isEmpty());
    }

    void answers_data() { rows(texts_); }
    void answers() {
        QFETCH(Payload, payload);
        const QString text = payload.value.toString();
        QVERIFY(havePage());
        if (showChat({}) && update("upsert", {answer(text)})) {
            note(u"whole"_qs);
            noteMissing(payload.shows);
        }
        if (page_ && stream(text)) {
            note(u"growing"_qs);
            noteDifference();
        }
        pressLinks();
    }

    void otherText_data() { rows(asked_); }
    void otherText() {
        QFETCH(Payload, payload);
        const QString text = payload.value.toString();
        QVERIFY(havePage());
        if (showChat({asked(text)})) {
            note(u"asked"_qs);
            const QString script = u"watch.bubbleIs(%1)"_qs.arg(QString::fromLatin1(literal(text)));
            if (!page_->holds(script))
                problems_.append(u"the question is not as asked"_qs);
        }
        if (page_ && text.size() <= longestInFields && update("upsert", {everywhere(text)}) &&
            update("upsert", {underWay(text)})) {
            note(u"members"_qs);
            noteMissing(text);
        }
    }

    void records_data() { rows(records_); }
    void records() {
        QFETCH(Payload, payload);
        QJsonObject record = answer(u"Said"_qs);
        const QJsonObject members = payload.value.toObject();
        for (auto member = members.begin(); member != members.end(); ++member)
            record.insert(member.key(), member.value());
        QVERIFY(havePage());
        if (showChat({}) && update("upsert", {record}))
            note(u"pushed"_qs);
        record.insert(u"id"_qs, u"another"_qs);
        if (page_ && showChat({record})) {
            note(u"opened"_qs);
            noteMissing(payload.shows);
        }
        pressLinks();
    }

    void calls_data() { rows(calls_); }
    void calls() {
        QFETCH(Payload, payload);
        QVERIFY(havePage());
        QVERIFY(showChat({answer(u"Said"_qs)}));
        for (const QJsonValue& call : payload.value.toArray()) {
            QJsonArray arguments = call.toArray();
            const QByteArray function = arguments.takeAt(0).toString().toLatin1();
            if (!page_ || !update(function, QList<QJsonValue>(arguments.begin(), arguments.end())))
                break;
        }
        // Whatever was made of that, the page goes on.
        if (page_ && update("upsert", {message(u"user"_qs, u"And then"_qs)})) {
            // Odd arguments may be refused, but nothing else may happen.
            for (const QString& offence : page_->takeOffences()) {
                if (!offence.contains(QLatin1String(" failed: ")))
                    problems_.append(offence);
            }
            noteMissing(u"And then"_qs);
            noteMissing(payload.shows);
        }
    }

    void previews_data() { rows(previews_); }
    void previews() {
        QFETCH(Payload, payload);
        QVERIFY(havePage());
        QVERIFY(showChat({}));
        page_->takePreviews();
        const QString address = u"https://a.example/%1"_qs.arg(QLatin1String(QTest::currentDataTag()));
        const QString link = QString::fromLatin1(QUrl(address).toEncoded());
        QVERIFY(update("upsert", {answer(u"Said\n\n<%1>\n\nend\n"_qs.arg(link))}));
        const QList<int> asked = page_->takePreviews();
        QCOMPARE(asked.size(), 1);
        const QJsonObject reply = payload.value.toObject();
        if (update("fetchResult",
                   {asked.first(), reply.value(u"status"_qs).toInt(200), reply.value(u"body"_qs),
                    reply.value(u"type"_qs).toString(u"application/json"_qs)})) {
            note(u"preview"_qs);
            noteMissing(payload.shows);
        }
        pressLinks();
    }

private:
    void rows(const QList<Payload>& payloads) {
        QTest::addColumn<Payload>("payload");
        for (const Payload& each : payloads)
            QTest::newRow(qUtf8Printable(each.name)) << each;
    }

    /// Sees to a page that works, although the payload before may have brought the last one down.
    bool havePage() {
        if (page_)
            return true;
        page_ = std::make_unique<WatchedPage>();
        page_->setLongestFreeze(longestFreeze * slowness_);
        return page_->open();
    }

    /// Calls the page and waits for its picture; without one there is no page any more.
    bool update(const QByteArray& function, const QList<QJsonValue>& arguments) {
        if (page_->call(function, arguments))
            return true;
        problems_.append(u"never painted"_qs);
        page_.reset();
        return false;
    }

    bool showChat(const QJsonArray& messages) {
        // Another chat each time: what is left of the one before must not be taken up again.
        const QString id = u"chat-%1"_qs.arg(++chats_);
        return update("setChat", {QJsonObject{{u"id"_qs, id}, {u"messages"_qs, messages}}});
    }

    /// Cut at places that look random and are the same in every run; not at characters' borders.
    bool stream(const QString& text) {
        constexpr int cuts = 4;
        QRandomGenerator random(static_cast<quint32>(text.size()));
        QList<qsizetype> ends;
        for (int cut = 0; cut < cuts; ++cut)
            ends.append(random.bounded(static_cast<int>(text.size() + 1)));
        std::sort(ends.begin(), ends.end());
        for (const qsizetype end : ends) {
            if (!update("upsert", {growingAnswer(text.left(end), true)}))
                return false;
        }
        return update("upsert", {growingAnswer(text, false)});
    }

    void pressLinks() {
        if (page_ && page_->holds(u"watch.hasLinks()"_qs) && page_->pressLinks())
            note(u"links"_qs);
    }

    /// How much slower this machine is than the usual one.
    void measureMachine() {
        QVERIFY(havePage());
        const double loop = page_->number(u"(() => { const times = [];"
                                          "for (let run = 0; run < 5; run += 1) {"
                                          " const begin = performance.now(); let sum = 0;"
                                          " for (let i = 0; i < 5e7; i += 1) sum = (sum * 31 + i) | 0;"
                                          " times.push(performance.now() - begin + (sum === 1 ? 1 : 0)); }"
                                          "return Math.min(...times); })()"_qs);
        QVERIFY(loop > 0);
        slowness_ = std::clamp(loop / usualLoop, 1.0, 4.0);
        page_.reset();
    }

    void note(const QString& when) {
        for (const QString& offence : page_->takeOffences())
            problems_.append(when + u": "_qs + offence);
    }

    void noteDifference() {
        const QString difference = page_->text(u"watch.differs()"_qs);
        if (!difference.isEmpty())
            problems_.append(u"whole and grown differ: "_qs + difference);
    }

    void noteMissing(const QString& text) {
        const QString script = u"watch.says(%1)"_qs.arg(QString::fromLatin1(literal(text)));
        if (!page_->holds(script))
            problems_.append(u"lost: "_qs + text.left(80));
    }

    QList<Payload> texts_;
    /// Those that are not about Markdown alone.
    QList<Payload> asked_;
    QList<Payload> records_ = payloadsIn(u"records.json"_qs);
    QList<Payload> calls_ = payloadsIn(u"calls.json"_qs);
    QList<Payload> previews_ = payloadsIn(u"previews.json"_qs);
    std::unique_ptr<WatchedPage> page_;
    QStringList problems_;
    int chats_ = 0;
    double slowness_ = 1;
};

QTEST_MAIN(TestHostile)
#include "TestHostile.moc"
