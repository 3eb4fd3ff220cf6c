#include "Columns.h"
#include "Conversation.h"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

using namespace teskal::test;

namespace {

const auto toEnd = u"(e => e.scrollHeight - e.clientHeight - e.scrollTop)(document.documentElement)"_qs;

const auto eye = u"eye.getBoundingClientRect().top"_qs;

QString squareUrl() {
    QByteArray png;
    QBuffer buffer(&png);
    QImage square(300, 300, QImage::Format_RGB32);
    square.fill(Qt::darkGreen);
    square.save(&buffer, "PNG");
    return u"data:image/png;base64,"_qs + QString::fromLatin1(png.toBase64());
}

} // namespace

/// The end of the conversation stays in view while the reader is there, and only then; and nothing moves
/// under the eyes of a reader who is somewhere else.
class TestFollowing : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>();
        QVERIFY(page_->open());
    }

    void init() {
        length_ = 30;
        page_->evaluate(u"getSelection().removeAllRanges()"_qs);
        QVERIFY(showChat(*page_,
                         {question(u"q"_qs, u"Question"_qs), answer(u"a"_qs, paragraphs(length_), true)}));
        QVERIFY(settled());
    }

    void aChatOpensAtItsEnd() {
        QVERIFY(top() > 0);
        QVERIFY(distance() <= 1);
        for (int i = 0; i < 5; ++i) {
            grow(2);
            QVERIFY(settlesAtItsEnd());
        }
    }

    void aReaderWhoMovesIsLeftAlone_data() {
        rowsOf("how", {"wheel", "page up", "arrow", "home", "selection"});
    }
    void aReaderWhoMovesIsLeftAlone() {
        QFETCH(QString, how);
        const double before = top();
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
        if (how == QLatin1String("selection"))
            QVERIFY(page_->waitFor(u"!getSelection().isCollapsed"_qs));
        else
            QVERIFY(movedAbove(before));
        QVERIFY(settled());
        const double place = top();
        const QString selected = page_->text(u"String(getSelection())"_qs);
        for (int i = 0; i < 3; ++i) {
            grow(1);
            QVERIFY(settled());
            QCOMPARE(top(), place);
        }
        QCOMPARE(page_->text(u"String(getSelection())"_qs), selected);
        QVERIFY(page_->waitFor(u"document.getElementById('to-end').dataset.label === 'New below'"_qs));
    }

    void theEndIsTakenUpAgain_data() { rowsOf("how", {"wheel", "end", "button", "host"}); }
    void theEndIsTakenUpAgain() {
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
            QTest::mouseClick(&page_->input(), Qt::LeftButton, {},
                              placeOf(u"(r => [r.x + r.width / 2, r.y + r.height / 2])"
                                      "(document.getElementById('to-end').getBoundingClientRect())"_qs));
        } else {
            page_->port().call("scrollToBottom", QList<QByteArray>());
        }
        QVERIFY(page_->waitFor(toEnd + u" <= 1"_qs));
        QVERIFY(settled());
        QVERIFY(page_->holds(u"document.getElementById('to-end').hidden"_qs));
        grow(3);
        QVERIFY(settlesAtItsEnd());
    }

    void aShorterPageKeepsItsEnd() {
        length_ -= 10;
        grow(0);
        QVERIFY(settlesAtItsEnd());
        grow(20);
        QVERIFY(settlesAtItsEnd());
    }

    void whatWasSeenKeepsItsSize() {
        for (int length = 1; length <= 100; length += 9) {
            const QJsonObject message = answer(u"b"_qs, paragraphs(length), true);
            if (length == 1)
                QVERIFY(showChat(*page_, {message}));
            else
                upsert(*page_, message);
            QVERIFY(settled());
        }
        QVERIFY(page_->waitFor(u"document.querySelectorAll('.section.aside').length > 3"_qs));
        const auto height = u"document.documentElement.scrollHeight"_qs;
        const double before = value(height);
        for (const char* place : {"0", "1e6"}) {
            page_->evaluate(u"document.documentElement.scrollTop = %1"_qs.arg(QLatin1String(place)));
            QVERIFY(settled());
            QCOMPARE(value(height), before);
        }
    }

    void whatArrivesAboveMovesNothing_data() {
        const auto row = columns<QJsonObject, QString>("changed", "arrived");
        const auto first = u"first"_qs;
        const auto start = u"Start\n\n"_qs;
        row("text", answer(first, start + paragraphs(20)), "true");
        row("formulas",
            answer(first, start + u"$$\n\\frac{\\frac{a}{b}}{\\frac{c}{d}}\n$$\n\n$$\n\\int_0^1 x\n$$\n"_qs),
            "document.querySelectorAll('.katex').length === 2");
        row("code", answer(first, start + u"```js\nlet x = 1;\n```\n"_qs),
            "document.querySelectorAll('.hljs-keyword').length > 0");
        QJsonObject picture = answer(first, u"Start"_qs);
        picture.insert(
            u"media"_qs,
            QJsonObject{{u"type"_qs, u"image"_qs}, {u"status"_qs, u"done"_qs}, {u"url"_qs, squareUrl()}});
        row("picture", picture, "document.querySelector('.answer img')?.naturalHeight === 300");
        QJsonObject working = answer(first, u"Start"_qs, true);
        working.insert(u"activity"_qs, QJsonObject{{u"phase"_qs, u"Searching"_qs}});
        row("work begins", working, "document.querySelector('.activity')");
    }
    void whatArrivesAboveMovesNothing() {
        QFETCH(QJsonObject, changed);
        QFETCH(QString, arrived);
        const QList<QJsonObject> messages{answer(u"first"_qs, u"Start"_qs), question(u"q"_qs, u"Question"_qs),
                                          answer(u"a"_qs, paragraphs(60))};
        QVERIFY(showChat(*page_, messages));
        QVERIFY(settled());
        // The reader scrolls to the middle; the first message is close above.
        wheel(1200);
        QVERIFY(settled());
        const double place = lookAt(200);
        upsert(*page_, changed);
        QVERIFY(page_->waitFor(arrived));
        // Its end changes what stands there once more.
        changed.remove(u"pending"_qs);
        upsert(*page_, changed);
        QVERIFY(settled());
        QVERIFY2(qAbs(value(eye) - place) < 1, qPrintable(u"%1 -> %2"_qs.arg(place).arg(value(eye))));
    }

    void drawingEarlierMessagesMovesNothing() {
        QList<QJsonObject> messages;
        for (int i = 0; i < 600; ++i)
            messages.append(answer(u"m%1"_qs.arg(i), paragraphs(1 + i % 7)));
        // Right after the chat was set, before its earlier messages are there, the reader scrolls up.
        setChat(*page_, messages);
        QVERIFY(page_->waitFor(shownMessages + u" >= 5"_qs));
        wheel(120);
        QVERIFY(settled());
        const double place = lookAt(100);
        QVERIFY(page_->holds(shownMessages + u" < 600"_qs));
        page_->evaluate(u"window.furthest = 0; window.watch = () => {"
                        " furthest = Math.max(furthest, Math.abs(%1 - %2));"
                        " requestAnimationFrame(watch); }; watch()"_qs.arg(eye)
                            .arg(place));
        QVERIFY(page_->waitFor(shownMessages + u" === 600"_qs));
        QVERIFY(settled());
        page_->evaluate(u"window.watch = () => {}"_qs);
        const double furthest = value(u"furthest"_qs);
        QVERIFY2(furthest < 1, qPrintable(QString::number(furthest)));
    }

private:
    double value(const QString& expression) { return page_->number(expression); }
    double top() { return value(u"document.documentElement.scrollTop"_qs); }
    double distance() { return value(toEnd); }
    [[nodiscard]] bool movedAbove(double place) {
        return page_->waitFor(u"document.documentElement.scrollTop < %1"_qs.arg(place));
    }
    /// Waits for everything that is under way in the page to be painted.
    [[nodiscard]] bool settled() {
        page_->evaluate(u"window.settled = 0;"
                        "requestAnimationFrame(() => requestAnimationFrame(() => "
                        "setTimeout(() => { settled = 1; })));"_qs);
        return page_->waitFor(u"window.settled"_qs);
    }
    [[nodiscard]] bool settlesAtItsEnd() { return settled() && distance() <= 1; }
    void grow(int paragraphsMore) {
        length_ += paragraphsMore;
        upsert(*page_, answer(u"a"_qs, paragraphs(length_), true));
    }

    /// Keeps an eye on the first paragraph below \a top; returns where it is.
    double lookAt(int top) {
        page_->evaluate(u"window.eye = [...document.querySelectorAll('.answer p')]"
                        ".find(p => p.getBoundingClientRect().top > %1)"_qs.arg(top));
        return value(eye);
    }

    void wheel(int delta) {
        QWidget& input = page_->input();
        const QPointF place(input.width() / 2.0, input.height() / 2.0);
        QWheelEvent event(place, input.mapToGlobal(place), {0, delta}, {0, delta * 2}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&input, &event);
    }

    void key(int key) { QTest::keyClick(&page_->input(), Qt::Key(key)); }
    QPoint placeOf(const QString& expression) {
        const QVariantList place = page_->evaluate(expression).toList();
        return {place.value(0).toInt(), place.value(1).toInt()};
    }
    void dragOverText() {
        const QPoint from =
            placeOf(u"(r => [r.left + 20, r.top + 10])([...document.querySelectorAll('.answer p')]"
                    ".find(p => p.getBoundingClientRect().top > 200).getBoundingClientRect())"_qs);
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

    std::unique_ptr<EnginePage> page_;
    int length_ = 0;
};

QTEST_MAIN(TestFollowing)
#include "TestFollowing.moc"
