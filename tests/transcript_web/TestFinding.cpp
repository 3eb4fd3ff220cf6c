#include "EnginePage.h"
#include "PageFinder.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace teskal::test;

namespace {

constexpr int messageCount = 1000;

QByteArray longChat() {
    QJsonArray messages;
    for (int i = 0; i < messageCount; ++i)
        messages.append(QJsonObject{
            {u"id"_qs, u"m%1"_qs.arg(i)},
            {u"role"_qs, i % 2 ? u"assistant"_qs : u"user"_qs},
            {u"content"_qs, u"Needle of message %1. "_qs.arg(i) + u"Hay, hay, hay. "_qs.repeated(40)}});
    const QJsonObject chat{{u"id"_qs, u"c"_qs}, {u"messages"_qs, messages}};
    return QJsonDocument(chat).toJson(QJsonDocument::Compact);
}

ChatMessage answer(const QString& id, const QString& text) {
    ChatMessage message;
    message.id = id;
    message.role = Role::Assistant;
    message.content = text;
    return message;
}

} // namespace

/// Finding a text among a thousand messages, most of which are not laid out and at first not even drawn.
class TestFinding : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>(QSize(600, 500));
        QVERIFY(page_->open());
        finder_ = std::make_unique<PageFinder>(page_->port());
        connect(finder_.get(), &PageFinder::counted, this, [this](int active, int total) {
            active_ = active;
            total_ = total;
        });
    }

    void findsWhatIsNotYetDrawn() {
        page_->port().call("setChat", {longChat()});
        finder_->search(u"needle"_qs);
        QVERIFY2(waitUntil([this] { return total_ == messageCount; }, EnginePage::patience),
                 qPrintable(QString::number(total_)));
        finder_->search(u"no such thing"_qs);
        QVERIFY(waitForCount(0, 0));
        finder_->search(u"needle of message 3."_qs);
        QVERIFY(waitForCount(1, 1));
        QVERIFY(page_->waitFor(u"(() => { const box = [...document.querySelectorAll('#transcript "
                               "article')][3].getBoundingClientRect();"
                               "return box.bottom > 0 && box.top < innerHeight; })()"_qs));
    }

    void goesOnAndBack() {
        finder_->search(u"needle"_qs);
        QVERIFY(waitUntil([this] { return total_ == messageCount; }, EnginePage::patience));
        const int start = active_;
        QVERIFY(start < messageCount - 2);
        finder_->next();
        QVERIFY(waitForCount(start + 1, messageCount));
        finder_->next();
        QVERIFY(waitForCount(start + 2, messageCount));
        finder_->previous();
        QVERIFY(waitForCount(start + 1, messageCount));
    }

    void typingStaysInPlace() {
        const int start = active_;
        finder_->search(u"needle of"_qs);
        for (const char* text : {"needle of m", "needle of me", "needle"}) {
            active_ = 0;
            finder_->search(QLatin1String(text));
            QVERIFY(waitForCount(start, messageCount));
        }
    }

    void followsTheChatWithoutMovingTheReader() {
        const int start = active_;
        page_->evaluate(u"document.documentElement.scrollTop = 100000; 1"_qs);
        // Sections come to their real size one frame later.
        page_->evaluate(u"window.still = 0; window.before = -1; (function look() {"
                        "still = before === scrollY ? still + 1 : 0; before = scrollY;"
                        "if (still < 5) requestAnimationFrame(look); })(); 1"_qs);
        QVERIFY(page_->waitFor(u"still >= 5"_qs));
        page_->evaluate(u"window.tops = new Set(); (function look() {"
                        "setTimeout(() => tops.add(scrollY)); requestAnimationFrame(look); })(); 1"_qs);
        const double before = top();
        page_->port().upsert(answer(u"new"_qs, u"A needle"_qs));
        QVERIFY(waitForCount(start, messageCount + 1));
        page_->port().upsert(answer(u"new"_qs, u"A needle and a needle"_qs));
        QVERIFY(waitForCount(start, messageCount + 2));
        QCOMPARE(top(), before);
        QCOMPARE(page_->text(u"[...tops].join()"_qs), QString::number(before));
        // A step takes the reader there after all.
        finder_->next();
        QVERIFY(waitForCount(start + 1, messageCount + 2));
        QVERIFY(waitUntil([&] { return top() != before; }, EnginePage::patience));

        page_->port().call("setChat",
                           {R"({"id":"d","messages":[{"id":"m","role":"user","content":"needle"}]})"});
        QVERIFY(waitForCount(1, 1));
    }

    void handsMoveTheHeldReader() {
        page_->port().call("setChat", {longChat()});
        QVERIFY(waitUntil([this] { return total_ == messageCount; }, EnginePage::patience));
        finder_->search(QString());
        // Places are told roughly, as sections come to their real size when they are seen.
        page_->evaluate(
            u"window.root = document.documentElement; window.isAt = (top) => Math.abs(root.scrollTop - top) "
            u"< "
            "1000;"
            "window.isAtEnd = () => root.scrollHeight - root.clientHeight - root.scrollTop < 2;"
            // Scrolls, as the engine would, and says whether the page stays there.
            "window.scroll = async (top) => { window.stays = null; root.scrollTop = top;"
            "for (let i = 0; i < 3; ++i) await new Promise(requestAnimationFrame); stays = isAt(top); }; 1"_qs);
        const auto stays = [&](int place) {
            page_->evaluate(u"scroll(%1); 1"_qs.arg(place));
            return page_->waitFor(u"stays !== null"_qs) && page_->holds(u"stays"_qs);
        };
        QVERIFY(stays(20000));
        page_->port().holdReader();
        QVERIFY(!stays(40000));
        QVERIFY(page_->holds(u"isAt(20000)"_qs));
        page_->evaluate(u"root.dispatchEvent(new WheelEvent('wheel', {deltaY: -5000})); 1"_qs);
        QVERIFY(page_->waitFor(u"isAt(15000)"_qs));
        page_->port().letReaderGoAtOnce();
        for (const char* hand : {"keydown", "pointerdown", "touchstart"}) {
            QVERIFY2(stays(20000), hand);
            page_->port().holdReader();
            page_->evaluate(u"root.dispatchEvent(new Event('%1')); 1"_qs.arg(QLatin1String(hand)));
            QVERIFY2(stays(40000), hand);
        }
        page_->port().holdReader();
        page_->port().call("scrollToBottom", {});
        QVERIFY(!stays(20000));
        QVERIFY(page_->waitFor(u"isAtEnd()"_qs));
        QVERIFY2(waitUntil([&] { return stays(20000); }, EnginePage::patience), "nobody is held for long");
    }

    void countsAgainAfterAReload() {
        finder_->search(u"needle"_qs);
        page_->takeMessages();
        QVERIFY(page_->open());
        page_->port().call(
            "setChat",
            {R"({"id":"c","messages":[{"id":"m","role":"user","content":"needle, needle, needle"}]})"});
        QVERIFY(waitUntil([this] { return total_ == 3; }, EnginePage::patience));
    }

    void anEmptyTextEndsTheSearch() {
        finder_->search(QString());
        QVERIFY(waitForCount(0, 0));
        page_->port().upsert(answer(u"later"_qs, u"the last needle"_qs));
        finder_->next();
        QVERIFY(page_->waitFor(u"document.body.textContent.includes('the last needle')"_qs));
        QCOMPARE(total_, 0);
    }

private:
    bool waitForCount(int active, int total) {
        return waitUntil([=, this] { return active_ == active && total_ == total; }, EnginePage::patience);
    }
    double top() { return page_->number(u"document.documentElement.scrollTop"_qs); }

    std::unique_ptr<EnginePage> page_;
    std::unique_ptr<PageFinder> finder_;
    int active_ = -1;
    int total_ = -1;
};

QTEST_MAIN(TestFinding)
#include "TestFinding.moc"
