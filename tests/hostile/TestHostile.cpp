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

using namespace teskal;
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
    return {{QStringLiteral("id"), QStringLiteral("m-") + role},
            {QStringLiteral("role"), role},
            {QStringLiteral("content"), content}};
}

QJsonObject answer(const QString& content) {
    return message(QStringLiteral("assistant"), content);
}

QJsonObject growingAnswer(const QString& content, bool pending) {
    QJsonObject made = answer(content);
    made.insert(QStringLiteral("id"), QStringLiteral("growing"));
    if (pending)
        made.insert(QStringLiteral("pending"), true);
    return made;
}

/// \a text in every member that holds text.
QJsonObject everywhere(const QString& text) {
    QJsonObject made = answer(QStringLiteral("Said"));
    made.insert(QStringLiteral("id"), text);
    made.insert(QStringLiteral("route"), QJsonObject{{QStringLiteral("name"), text},
                                                     {QStringLiteral("model"), text},
                                                     {QStringLiteral("lab"), text},
                                                     {QStringLiteral("task"), text},
                                                     {QStringLiteral("difficulty"), text},
                                                     {QStringLiteral("effort"), text},
                                                     {QStringLiteral("anonymized"), text},
                                                     {QStringLiteral("reason"), text}});
    made.insert(QStringLiteral("error"),
                QJsonObject{{QStringLiteral("code"), text}, {QStringLiteral("message"), text}});
    made.insert(QStringLiteral("media"), QJsonObject{{QStringLiteral("type"), QStringLiteral("music")},
                                                     {QStringLiteral("url"), text},
                                                     {QStringLiteral("prompt"), text},
                                                     {QStringLiteral("message"), text},
                                                     {QStringLiteral("status"), QStringLiteral("error")},
                                                     {QStringLiteral("fileId"), text},
                                                     {QStringLiteral("mediaType"), text},
                                                     {QStringLiteral("lyrics"), text}});
    return made;
}

QJsonObject underWay(const QString& text) {
    QJsonObject made = growingAnswer(QString(), true);
    const QJsonArray twice{text, text + QLatin1Char('2')};
    made.insert(QStringLiteral("activity"), QJsonObject{{QStringLiteral("phase"), text},
                                                        {QStringLiteral("searches"), twice},
                                                        {QStringLiteral("steps"), twice}});
    return made;
}

QJsonObject asked(const QString& text) {
    QJsonObject made = message(QStringLiteral("user"), text);
    const QString image = QStringLiteral("image/png");
    made.insert(QStringLiteral("attachments"), QJsonArray{QJsonObject{{QStringLiteral("name"), text},
                                                                      {QStringLiteral("mediaType"), image},
                                                                      {QStringLiteral("url"), text}},
                                                          QJsonObject{{QStringLiteral("name"), text},
                                                                      {QStringLiteral("mediaType"), text},
                                                                      {QStringLiteral("dataUrl"), text}}});
    return made;
}

} // namespace

/// What people and models may write to do harm: every payload is shown whole and as it grows, and nothing may
/// come of it but text.
class TestHostile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { problems_.clear(); }

    void watchNotices_data();
    void watchNotices();
    void watchNoticesRequestsToHosts();
    void watchNoticesLosses();

    void answers_data() { rows(texts_); }
    void answers();
    void otherText_data() { rows(asked_); }
    void otherText();
    void records_data() { rows(records_); }
    void records();
    void calls_data() { rows(calls_); }
    void calls();
    void previews_data() { rows(previews_); }
    void previews();

private:
    void rows(const QList<Payload>& payloads);
    /// Sees to a page that works, although the payload before may have brought the last one down.
    bool havePage();
    /// Calls the page and waits for its picture; without one there is no page any more.
    bool update(const QByteArray& function, const QList<QJsonValue>& arguments);
    bool showChat(const QJsonArray& messages);
    bool stream(const QString& text);
    void pressLinks();
    /// How much slower this machine is than the usual one.
    void measureMachine();
    void note(const QString& when);
    void noteDifference();
    void noteMissing(const QString& text);

    QList<Payload> texts_;
    /// Those that are not about Markdown alone.
    QList<Payload> asked_;
    QList<Payload> records_ = payloadsIn(QStringLiteral("records.json"));
    QList<Payload> calls_ = payloadsIn(QStringLiteral("calls.json"));
    QList<Payload> previews_ = payloadsIn(QStringLiteral("previews.json"));
    std::unique_ptr<WatchedPage> page_;
    QStringList problems_;
    int chats_ = 0;
    double slowness_ = 1;
};

void TestHostile::initTestCase() {
    texts_ = asked_ = payloadsIn(QStringLiteral("text.json"));
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

void TestHostile::measureMachine() {
    QVERIFY(havePage());
    const double loop =
        page_
            ->evaluate(QStringLiteral("(() => { const times = [];"
                                      "for (let run = 0; run < 5; run += 1) {"
                                      " const begin = performance.now(); let sum = 0;"
                                      " for (let i = 0; i < 5e7; i += 1) sum = (sum * 31 + i) | 0;"
                                      " times.push(performance.now() - begin + (sum === 1 ? 1 : 0)); }"
                                      "return Math.min(...times); })()"))
            .toDouble();
    QVERIFY(loop > 0);
    slowness_ = std::clamp(loop / usualLoop, 1.0, 4.0);
    page_.reset();
}

void TestHostile::rows(const QList<Payload>& payloads) {
    QTest::addColumn<Payload>("payload");
    for (const Payload& each : payloads)
        QTest::newRow(qUtf8Printable(each.name)) << each;
}

bool TestHostile::havePage() {
    if (page_)
        return true;
    page_ = std::make_unique<WatchedPage>();
    page_->setLongestFreeze(longestFreeze * slowness_);
    return page_->open();
}

bool TestHostile::update(const QByteArray& function, const QList<QJsonValue>& arguments) {
    if (page_->call(function, arguments))
        return true;
    problems_.append(QStringLiteral("never painted"));
    page_.reset();
    return false;
}

bool TestHostile::showChat(const QJsonArray& messages) {
    // Another chat each time: what is left of the one before must not be taken up again.
    const QString id = QStringLiteral("chat-%1").arg(++chats_);
    return update("setChat",
                  {QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("messages"), messages}}});
}

void TestHostile::note(const QString& when) {
    for (const QString& offence : page_->takeOffences())
        problems_.append(when + QStringLiteral(": ") + offence);
}

void TestHostile::noteMissing(const QString& text) {
    const QString script = QStringLiteral("watch.says(%1)").arg(QString::fromLatin1(literal(text)));
    if (!page_->evaluate(script).toBool())
        problems_.append(QStringLiteral("lost: ") + text.left(80));
}

void TestHostile::watchNotices_data() {
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
    script(
        "webkit.messageHandlers.teskal.postMessage({ type: 'fetch', id: 1, path: '/api/keys', method: 'GET',"
        " body: '' })",
        "message: ");
    script("webkit.messageHandlers.teskal.postMessage({ type: 'fetch', id: 1, method: 'GET', body: '',"
           " path: '/api/unfurl?url=file%3A%2F%2F%2Fx' })",
           "message: ");
    // By turns, not by the clock: a machine with other work may give the page little of that time.
    script(
        "(() => { let sum = 0; for (let i = 0; i < 8e8; i += 1) sum = (sum * 31 + i) | 0; return sum; })()",
        "froze for ");
    script("const a = document.createElement('a'); a.href = 'https://t.example/'; a.dataset.test = '';"
           " document.body.append(a); a.click()",
           "link followed");

    const auto markup = [](const char* html, const char* offence) {
        QTest::newRow(html) << QStringLiteral("document.querySelector('.block').innerHTML = %1")
                                   .arg(QString::fromLatin1(literal(QString::fromLatin1(html))))
                            << QString::fromLatin1(offence);
    };
    markup("<img src=x onerror=pwned()>", "policy: script-src");
    markup("<p onclick=pwned()>x</p>", "attribute p onclick");
    markup("<p style='background:url(x)'>x</p>", "policy: style-src");
    for (const char* name : {"script", "iframe", "object", "embed", "form", "input", "style", "link", "base",
                             "meta", "svg", "math", "img", "template", "marquee", "video"})
        markup(qPrintable(QStringLiteral("<%1></%1>").arg(QLatin1String(name))),
               qPrintable(QStringLiteral("element <%1>").arg(QLatin1String(name))));
    markup("<a href='javascript:pwned()'>x</a>", "attribute a href");
    markup("<a href='file:///x'>x</a>", "attribute a href");
    markup("<a href='https://bank.example@t.example/'>x</a>", "attribute a href");
    markup("<a ping='https://t.example/'>x</a>", "attribute a ping");
    markup("<p id=x>x</p>", "attribute p id");
    markup("<p id=to-end>x</p>", "#to-end twice");
    markup("<a name=teskal>x</a>", "attribute a name");
    markup("<p class=route>x</p>", "attribute p class");
    markup("<p class=math><span class=katex><svg><use xlink:href=x></use></svg></span></p>", "element <use>");
    script("const span = document.createElement('span'); span.style.cssText = 'position: relative; top: "
           "-2000px';"
           " span.textContent = 'x'; document.querySelector('.answer-text').style.overflow = 'visible';"
           " const block = document.querySelector('.block');"
           " block.innerHTML = '<p class=math><span class=katex><span class=katex-html></span></span></p>';"
           " block.querySelector('.katex-html').append(span)",
           "formula over its message");
}

void TestHostile::watchNotices() {
    QFETCH(QString, script);
    QFETCH(QString, offence);
    QVERIFY(havePage());
    page_->evaluate(QStringLiteral("watch.forgetSabotage()"));
    QVERIFY(showChat({answer(QStringLiteral("Said"))}));
    QVERIFY(waitUntil([this] { return page_->takeOffences().isEmpty(); }));
    QVERIFY(page_->run(script));
    QStringList offences;
    const bool noticed = waitUntil([&] {
        offences += page_->takeOffences();
        return !offences.filter(offence).isEmpty();
    });
    QVERIFY2(noticed, qUtf8Printable(offences.join(QLatin1Char('\n'))));
}

void TestHostile::watchNoticesRequestsToHosts() {
    // The page's own policy lets none come so far, so another page of the same profile has to ask.
    QVERIFY(havePage());
    QWebEnginePage other(page_->profile());
    other.load(QUrl(QStringLiteral("https://t.example/x")));
    QVERIFY(waitUntil(
        [&] { return page_->takeOffences().contains(QLatin1String("request: https://t.example/x")); }));
}

void TestHostile::watchNoticesLosses() {
    page_.reset(); // the last one was tampered with
    QVERIFY(havePage());
    QVERIFY(showChat({asked(QStringLiteral("Asked")), answer(QStringLiteral("Said"))}));
    QVERIFY(page_->evaluate(QStringLiteral("watch.says('Said') && watch.bubbleIs('Asked')")).toBool());
    QVERIFY(!page_->evaluate(QStringLiteral("watch.says('Sad') || watch.bubbleIs('Aske')")).toBool());
    QVERIFY(update("upsert", {growingAnswer(QStringLiteral("Said"), false)}));
    QCOMPARE(page_->evaluate(QStringLiteral("watch.differs()")).toString(), QString());
    QVERIFY(update("upsert", {growingAnswer(QStringLiteral("Said *x*"), false)}));
    QVERIFY(!page_->evaluate(QStringLiteral("watch.differs()")).toString().isEmpty());
    page_->takeOffences();
    page_->evaluate(QStringLiteral("window.teskal.upsert(null)"));
    QVERIFY(!page_->takeOffences().filter(QStringLiteral("upsert failed")).isEmpty());
}

void TestHostile::answers() {
    QFETCH(Payload, payload);
    const QString text = payload.value.toString();
    QVERIFY(havePage());
    if (showChat({}) && update("upsert", {answer(text)})) {
        note(QStringLiteral("whole"));
        noteMissing(payload.shows);
    }
    if (page_ && stream(text)) {
        note(QStringLiteral("growing"));
        noteDifference();
    }
    pressLinks();
    QVERIFY2(problems_.isEmpty(), qUtf8Printable(problems_.join(QLatin1Char('\n'))));
}

void TestHostile::noteDifference() {
    const QString difference = page_->evaluate(QStringLiteral("watch.differs()")).toString();
    if (!difference.isEmpty())
        problems_.append(QStringLiteral("whole and grown differ: ") + difference);
}

void TestHostile::pressLinks() {
    if (page_ && page_->evaluate(QStringLiteral("watch.hasLinks()")).toBool() && page_->pressLinks())
        note(QStringLiteral("links"));
}

/// Cut at places that look random and are the same in every run; not at characters' borders.
bool TestHostile::stream(const QString& text) {
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

void TestHostile::otherText() {
    QFETCH(Payload, payload);
    const QString text = payload.value.toString();
    QVERIFY(havePage());
    if (showChat({asked(text)})) {
        note(QStringLiteral("asked"));
        const QString script = QStringLiteral("watch.bubbleIs(%1)").arg(QString::fromLatin1(literal(text)));
        if (!page_->evaluate(script).toBool())
            problems_.append(QStringLiteral("the question is not as asked"));
    }
    if (page_ && text.size() <= longestInFields && update("upsert", {everywhere(text)}) &&
        update("upsert", {underWay(text)})) {
        note(QStringLiteral("members"));
        noteMissing(text);
    }
    QVERIFY2(problems_.isEmpty(), qUtf8Printable(problems_.join(QLatin1Char('\n'))));
}

void TestHostile::records() {
    QFETCH(Payload, payload);
    QJsonObject record = answer(QStringLiteral("Said"));
    const QJsonObject members = payload.value.toObject();
    for (auto member = members.begin(); member != members.end(); ++member)
        record.insert(member.key(), member.value());
    QVERIFY(havePage());
    if (showChat({}) && update("upsert", {record}))
        note(QStringLiteral("pushed"));
    record.insert(QStringLiteral("id"), QStringLiteral("another"));
    if (page_ && showChat({record})) {
        note(QStringLiteral("opened"));
        noteMissing(payload.shows);
    }
    pressLinks();
    QVERIFY2(problems_.isEmpty(), qUtf8Printable(problems_.join(QLatin1Char('\n'))));
}

void TestHostile::calls() {
    QFETCH(Payload, payload);
    QVERIFY(havePage());
    QVERIFY(showChat({answer(QStringLiteral("Said"))}));
    for (const QJsonValue& call : payload.value.toArray()) {
        QJsonArray arguments = call.toArray();
        const QByteArray function = arguments.takeAt(0).toString().toLatin1();
        if (!page_ || !update(function, QList<QJsonValue>(arguments.begin(), arguments.end())))
            break;
    }
    // Whatever was made of that, the page goes on.
    if (page_ && update("upsert", {message(QStringLiteral("user"), QStringLiteral("And then"))})) {
        // Odd arguments may be refused, but nothing else may happen.
        for (const QString& offence : page_->takeOffences()) {
            if (!offence.contains(QLatin1String(" failed: ")))
                problems_.append(offence);
        }
        noteMissing(QStringLiteral("And then"));
        noteMissing(payload.shows);
    }
    QVERIFY2(problems_.isEmpty(), qUtf8Printable(problems_.join(QLatin1Char('\n'))));
}

void TestHostile::previews() {
    QFETCH(Payload, payload);
    QVERIFY(havePage());
    QVERIFY(showChat({}));
    page_->takePreviews();
    const QString address =
        QStringLiteral("https://a.example/%1").arg(QLatin1String(QTest::currentDataTag()));
    const QString link = QString::fromLatin1(QUrl(address).toEncoded());
    QVERIFY(update("upsert", {answer(QStringLiteral("Said\n\n<%1>\n\nend\n").arg(link))}));
    const QList<int> asked = page_->takePreviews();
    QCOMPARE(asked.size(), 1);
    const QJsonObject reply = payload.value.toObject();
    if (update("fetchResult",
               {asked.first(), reply.value(QStringLiteral("status")).toInt(200),
                reply.value(QStringLiteral("body")),
                reply.value(QStringLiteral("type")).toString(QStringLiteral("application/json"))})) {
        note(QStringLiteral("preview"));
        noteMissing(payload.shows);
    }
    pressLinks();
    QVERIFY2(problems_.isEmpty(), qUtf8Printable(problems_.join(QLatin1Char('\n'))));
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestHostile test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestHostile.moc"
