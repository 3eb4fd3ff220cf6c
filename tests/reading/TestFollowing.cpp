#include "Conversation.h"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

using namespace teskal;
using namespace teskal::test;

namespace {

const auto toEnd =
    QStringLiteral("(e => e.scrollHeight - e.clientHeight - e.scrollTop)(document.documentElement)");

QString squareUrl() {
    QByteArray png;
    QBuffer buffer(&png);
    QImage square(300, 300, QImage::Format_RGB32);
    square.fill(Qt::darkGreen);
    square.save(&buffer, "PNG");
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
}

} // namespace

/// The end of the conversation stays in view while the reader is there, and only then; and nothing moves
/// under the eyes of a reader who is somewhere else.
class TestFollowing : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void aChatOpensAtItsEnd();
    void aReaderWhoMovesIsLeftAlone_data();
    void aReaderWhoMovesIsLeftAlone();
    void theEndIsTakenUpAgain_data();
    void theEndIsTakenUpAgain();
    void aShorterPageKeepsItsEnd();
    void whatWasSeenKeepsItsSize();
    void whatArrivesAboveMovesNothing_data();
    void whatArrivesAboveMovesNothing();
    void drawingEarlierMessagesMovesNothing();

private:
    double value(const QString& expression) { return page_->evaluate(expression).toDouble(); }
    double top() { return value(QStringLiteral("document.documentElement.scrollTop")); }
    double distance() { return value(toEnd); }
    [[nodiscard]] bool movedAbove(double place) {
        return page_->waitFor(QStringLiteral("document.documentElement.scrollTop < %1").arg(place));
    }
    /// Waits for everything that is under way in the page to be painted.
    [[nodiscard]] bool settled();
    void grow(int paragraphsMore);
    void wheel(int delta);
    void key(int key) { QTest::keyClick(&page_->input(), Qt::Key(key)); }
    void dragOverText();

    std::unique_ptr<EnginePage> page_;
    int length_ = 0;
};

void TestFollowing::initTestCase() {
    page_ = std::make_unique<EnginePage>();
    QVERIFY(page_->open());
}

void TestFollowing::init() {
    length_ = 30;
    page_->evaluate(QStringLiteral("getSelection().removeAllRanges()"));
    QVERIFY(showChat(*page_, {question(QStringLiteral("q"), QStringLiteral("Question")),
                              answer(QStringLiteral("a"), paragraphs(length_), true)}));
    QVERIFY(settled());
}

bool TestFollowing::settled() {
    page_->evaluate(QStringLiteral(
        "window.settled = 0;"
        "requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(() => { settled = 1; })));"));
    return page_->waitFor(QStringLiteral("window.settled"));
}

void TestFollowing::grow(int paragraphsMore) {
    length_ += paragraphsMore;
    upsert(*page_, answer(QStringLiteral("a"), paragraphs(length_), true));
}

void TestFollowing::wheel(int delta) {
    QWidget& input = page_->input();
    const QPointF place(input.width() / 2.0, input.height() / 2.0);
    QWheelEvent event(place, input.mapToGlobal(place), {0, delta}, {0, delta * 2}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&input, &event);
}

void TestFollowing::dragOverText() {
    const QVariantList line =
        page_
            ->evaluate(
                QStringLiteral("(r => [r.left, r.top])([...document.querySelectorAll('.answer p')]"
                               ".find(p => p.getBoundingClientRect().top > 200).getBoundingClientRect())"))
            .toList();
    const QPoint from(line.value(0).toInt() + 20, line.value(1).toInt() + 10);
    QWidget& input = page_->input();
    QTest::mousePress(&input, Qt::LeftButton, {}, from);
    for (const int distance : {40, 120}) {
        QMouseEvent move(QEvent::MouseMove, from + QPoint(distance, 0),
                         input.mapToGlobal(from + QPoint(distance, 0)), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(&input, &move);
    }
    QTest::mouseRelease(&input, Qt::LeftButton, {}, from + QPoint(120, 0));
}

void TestFollowing::aChatOpensAtItsEnd() {
    QVERIFY(top() > 0);
    QVERIFY(distance() <= 1);
    for (int i = 0; i < 5; ++i) {
        grow(2);
        QVERIFY(settled());
        QVERIFY(distance() <= 1);
    }
}

void TestFollowing::aReaderWhoMovesIsLeftAlone_data() {
    QTest::addColumn<QString>("how");
    for (const char* how : {"wheel", "page up", "arrow", "home", "selection"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestFollowing::aReaderWhoMovesIsLeftAlone() {
    QFETCH(QString, how);
    const double before = top();
    const bool selects = how == QLatin1String("selection");
    if (how == QLatin1String("wheel"))
        wheel(10);
    else if (how == QLatin1String("page up"))
        key(Qt::Key_PageUp);
    else if (how == QLatin1String("arrow"))
        key(Qt::Key_Up);
    else if (how == QLatin1String("home"))
        key(Qt::Key_Home);
    else
        dragOverText();
    if (selects)
        QVERIFY(page_->waitFor(QStringLiteral("!getSelection().isCollapsed")));
    else
        QVERIFY(movedAbove(before));
    QVERIFY(settled());
    const double place = top();
    const QString selected = page_->evaluate(QStringLiteral("String(getSelection())")).toString();
    for (int i = 0; i < 3; ++i) {
        grow(1);
        QVERIFY(settled());
        QCOMPARE(top(), place);
    }
    QCOMPARE(page_->evaluate(QStringLiteral("String(getSelection())")).toString(), selected);
    QVERIFY(
        page_->waitFor(QStringLiteral("document.getElementById('to-end').dataset.label === 'New below'")));
}

void TestFollowing::theEndIsTakenUpAgain_data() {
    QTest::addColumn<QString>("how");
    for (const char* how : {"wheel", "end", "button", "host"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestFollowing::theEndIsTakenUpAgain() {
    QFETCH(QString, how);
    const double before = top();
    wheel(120);
    QVERIFY(movedAbove(before));
    grow(1);
    QVERIFY(settled());
    QVERIFY(distance() > 1);
    if (how == QLatin1String("wheel")) {
        for (int i = 0; i < 20; ++i)
            wheel(-120);
    } else if (how == QLatin1String("end")) {
        key(Qt::Key_End);
    } else if (how == QLatin1String("button")) {
        const QVariantMap box =
            page_
                ->evaluate(QStringLiteral("(r => ({x: r.x + r.width / 2, y: r.y + r.height / 2}))"
                                          "(document.getElementById('to-end').getBoundingClientRect())"))
                .toMap();
        QTest::mouseClick(
            &page_->input(), Qt::LeftButton, {},
            QPoint(box.value(QStringLiteral("x")).toInt(), box.value(QStringLiteral("y")).toInt()));
    } else {
        page_->port().call("scrollToBottom", QList<QByteArray>());
    }
    QVERIFY(page_->waitFor(toEnd + QStringLiteral(" <= 1")));
    QVERIFY(settled());
    QVERIFY(page_->evaluate(QStringLiteral("document.getElementById('to-end').hidden")).toBool());
    grow(3);
    QVERIFY(settled());
    QVERIFY(distance() <= 1);
}

void TestFollowing::aShorterPageKeepsItsEnd() {
    length_ -= 10;
    grow(0);
    QVERIFY(settled());
    QVERIFY(distance() <= 1);
    grow(20);
    QVERIFY(settled());
    QVERIFY(distance() <= 1);
}

void TestFollowing::whatWasSeenKeepsItsSize() {
    for (int length = 1; length <= 100; length += 9) {
        const QJsonObject message = answer(QStringLiteral("b"), paragraphs(length), true);
        if (length == 1)
            QVERIFY(showChat(*page_, {message}));
        else
            upsert(*page_, message);
        QVERIFY(settled());
    }
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelectorAll('.section.aside').length > 3")));
    const auto height = QStringLiteral("document.documentElement.scrollHeight");
    const double before = value(height);
    for (const char* place : {"0", "1e6"}) {
        page_->evaluate(QStringLiteral("document.documentElement.scrollTop = %1").arg(QLatin1String(place)));
        QVERIFY(settled());
        QCOMPARE(value(height), before);
    }
}

void TestFollowing::whatArrivesAboveMovesNothing_data() {
    QTest::addColumn<QJsonObject>("changed");
    QTest::addColumn<QString>("arrived");
    const auto first = QStringLiteral("first");
    const auto start = QStringLiteral("Start\n\n");
    QTest::newRow("text") << answer(first, start + paragraphs(20)) << "true";
    QTest::newRow("formulas")
        << answer(first, start + QStringLiteral(
                                     "$$\n\\frac{\\frac{a}{b}}{\\frac{c}{d}}\n$$\n\n$$\n\\int_0^1 x\n$$\n"))
        << "document.querySelectorAll('.katex').length === 2";
    QTest::newRow("code") << answer(first, start + QStringLiteral("```js\nlet x = 1;\n```\n"))
                          << "document.querySelectorAll('.hljs-keyword').length > 0";
    QJsonObject picture = answer(first, QStringLiteral("Start"));
    picture.insert(QStringLiteral("media"), QJsonObject{{QStringLiteral("type"), QStringLiteral("image")},
                                                        {QStringLiteral("status"), QStringLiteral("done")},
                                                        {QStringLiteral("url"), squareUrl()}});
    QTest::newRow("picture") << picture << "document.querySelector('.answer img')?.naturalHeight === 300";
    QJsonObject working = answer(first, QStringLiteral("Start"), true);
    working.insert(QStringLiteral("activity"),
                   QJsonObject{{QStringLiteral("phase"), QStringLiteral("Searching")}});
    QTest::newRow("work begins") << working << "document.querySelector('.activity')";
}

void TestFollowing::whatArrivesAboveMovesNothing() {
    QFETCH(QJsonObject, changed);
    QFETCH(QString, arrived);
    const QList<QJsonObject> messages{answer(QStringLiteral("first"), QStringLiteral("Start")),
                                      question(QStringLiteral("q"), QStringLiteral("Question")),
                                      answer(QStringLiteral("a"), paragraphs(60))};
    QVERIFY(showChat(*page_, messages));
    QVERIFY(settled());
    // The reader scrolls to the middle; the first message is close above.
    wheel(1200);
    QVERIFY(settled());
    page_->evaluate(QStringLiteral("window.eye = [...document.querySelectorAll('.answer p')]"
                                   ".find(p => p.getBoundingClientRect().top > 200)"));
    const auto eye = QStringLiteral("eye.getBoundingClientRect().top");
    const double place = value(eye);
    upsert(*page_, changed);
    QVERIFY(page_->waitFor(arrived));
    // Its end changes what stands there once more.
    changed.remove(QStringLiteral("pending"));
    upsert(*page_, changed);
    QVERIFY(settled());
    QVERIFY2(qAbs(value(eye) - place) < 1, qPrintable(QStringLiteral("%1 -> %2").arg(place).arg(value(eye))));
}

void TestFollowing::drawingEarlierMessagesMovesNothing() {
    QList<QJsonObject> messages;
    for (int i = 0; i < 600; ++i)
        messages.append(answer(QStringLiteral("m%1").arg(i), paragraphs(1 + i % 7)));
    QJsonArray list;
    for (const QJsonObject& message : messages)
        list.append(message);
    // Right after the chat was set, before its earlier messages are there, the reader scrolls up.
    page_->port().call("setChat", {asJson({{QStringLiteral("id"), QStringLiteral("long")},
                                           {QStringLiteral("messages"), list}})});
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelectorAll('article').length >= 5")));
    wheel(120);
    QVERIFY(settled());
    page_->evaluate(QStringLiteral("window.eye = [...document.querySelectorAll('.answer p')]"
                                   ".find(p => p.getBoundingClientRect().top > 100)"));
    const auto eye = QStringLiteral("eye.getBoundingClientRect().top");
    const double place = value(eye);
    QVERIFY(page_->evaluate(QStringLiteral("document.querySelectorAll('article').length < 600")).toBool());
    page_->evaluate(QStringLiteral("window.furthest = 0; window.watch = () => {"
                                   " furthest = Math.max(furthest, Math.abs(%1 - %2));"
                                   " requestAnimationFrame(watch); }; watch()")
                        .arg(eye)
                        .arg(place));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelectorAll('article').length === 600")));
    QVERIFY(settled());
    page_->evaluate(QStringLiteral("window.watch = () => {}"));
    const double furthest = value(QStringLiteral("furthest"));
    QVERIFY2(furthest < 1, qPrintable(QString::number(furthest)));
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestFollowing test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestFollowing.moc"
