#include "EnginePage.h"
#include "PageFinder.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

constexpr int messageCount = 1000;

QByteArray longChat() {
    QJsonArray messages;
    for (int i = 0; i < messageCount; ++i)
        messages.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("m%1").arg(i)},
            {QStringLiteral("role"), i % 2 ? QStringLiteral("assistant") : QStringLiteral("user")},
            {QStringLiteral("content"), QStringLiteral("Needle of message %1. ").arg(i) +
                                            QStringLiteral("Hay, hay, hay. ").repeated(40)}});
    const QJsonObject chat{{QStringLiteral("id"), QStringLiteral("c")},
                           {QStringLiteral("messages"), messages}};
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
class TestFinding : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void findsWhatIsNotYetDrawn();
    void goesOnAndBack();
    void typingStaysInPlace();
    void followsTheChatWithoutMovingTheReader();
    void handsMoveTheHeldReader();
    void countsAgainAfterAReload();
    void anEmptyTextEndsTheSearch();

private:
    bool waitForCount(int active, int total) {
        return waitUntil([=, this] { return active_ == active && total_ == total; }, EnginePage::patience);
    }
    double top() { return page_->evaluate(QStringLiteral("document.documentElement.scrollTop")).toDouble(); }

    std::unique_ptr<EnginePage> page_;
    std::unique_ptr<PageFinder> finder_;
    int active_ = -1;
    int total_ = -1;
};

void TestFinding::initTestCase() {
    page_ = std::make_unique<EnginePage>(QSize(600, 500));
    QVERIFY(page_->open());
    finder_ = std::make_unique<PageFinder>(page_->port());
    connect(finder_.get(), &PageFinder::counted, this, [this](int active, int total) {
        active_ = active;
        total_ = total;
    });
}

void TestFinding::findsWhatIsNotYetDrawn() {
    page_->port().call("setChat", {longChat()});
    finder_->search(QStringLiteral("needle"));
    QVERIFY2(waitUntil([this] { return total_ == messageCount; }, EnginePage::patience),
             qPrintable(QString::number(total_)));
    finder_->search(QStringLiteral("no such thing"));
    QVERIFY(waitForCount(0, 0));
    finder_->search(QStringLiteral("needle of message 3."));
    QVERIFY(waitForCount(1, 1));
    QVERIFY(page_->waitFor(QStringLiteral("(() => { const box = [...document.querySelectorAll('#transcript "
                                          "article')][3].getBoundingClientRect();"
                                          "return box.bottom > 0 && box.top < innerHeight; })()")));
}

void TestFinding::goesOnAndBack() {
    finder_->search(QStringLiteral("needle"));
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

void TestFinding::typingStaysInPlace() {
    const int start = active_;
    finder_->search(QStringLiteral("needle of"));
    for (const char* text : {"needle of m", "needle of me", "needle"}) {
        active_ = 0;
        finder_->search(QLatin1String(text));
        QVERIFY(waitForCount(start, messageCount));
    }
}

void TestFinding::followsTheChatWithoutMovingTheReader() {
    const int start = active_;
    page_->evaluate(QStringLiteral("document.documentElement.scrollTop = 100000; 1"));
    // Sections come to their real size one frame later.
    page_->evaluate(QStringLiteral("window.still = 0; window.before = -1; (function look() {"
                                   "still = before === scrollY ? still + 1 : 0; before = scrollY;"
                                   "if (still < 5) requestAnimationFrame(look); })(); 1"));
    QVERIFY(page_->waitFor(QStringLiteral("still >= 5")));
    page_->evaluate(
        QStringLiteral("window.tops = new Set(); (function look() {"
                       "setTimeout(() => tops.add(scrollY)); requestAnimationFrame(look); })(); 1"));
    const double before = top();
    page_->port().upsert(answer(QStringLiteral("new"), QStringLiteral("A needle")));
    QVERIFY(waitForCount(start, messageCount + 1));
    page_->port().upsert(answer(QStringLiteral("new"), QStringLiteral("A needle and a needle")));
    QVERIFY(waitForCount(start, messageCount + 2));
    QCOMPARE(top(), before);
    QCOMPARE(page_->evaluate(QStringLiteral("[...tops].join()")).toString(), QString::number(before));
    // A step takes the reader there after all.
    finder_->next();
    QVERIFY(waitForCount(start + 1, messageCount + 2));
    QVERIFY(waitUntil([&] { return top() != before; }, EnginePage::patience));

    page_->port().call("setChat", {R"({"id":"d","messages":[{"id":"m","role":"user","content":"needle"}]})"});
    QVERIFY(waitForCount(1, 1));
}

void TestFinding::handsMoveTheHeldReader() {
    page_->port().call("setChat", {longChat()});
    QVERIFY(waitUntil([this] { return total_ == messageCount; }, EnginePage::patience));
    finder_->search(QString());
    // Places are told roughly, as sections come to their real size when they are seen.
    page_->evaluate(QStringLiteral(
        "window.root = document.documentElement; window.isAt = (top) => Math.abs(root.scrollTop - top) < "
        "1000;"
        "window.isAtEnd = () => root.scrollHeight - root.clientHeight - root.scrollTop < 2;"
        // Scrolls, as the engine would, and says whether the page stays there.
        "window.scroll = async (top) => { window.stays = null; root.scrollTop = top;"
        "for (let i = 0; i < 3; ++i) await new Promise(requestAnimationFrame); stays = isAt(top); }; 1"));
    const auto stays = [&](int place) {
        page_->evaluate(QStringLiteral("scroll(%1); 1").arg(place));
        return page_->waitFor(QStringLiteral("stays !== null")) &&
               page_->evaluate(QStringLiteral("stays")).toBool();
    };
    QVERIFY(stays(20000));
    page_->port().holdReader();
    QVERIFY(!stays(40000));
    QVERIFY(page_->evaluate(QStringLiteral("isAt(20000)")).toBool());
    page_->evaluate(QStringLiteral("root.dispatchEvent(new WheelEvent('wheel', {deltaY: -5000})); 1"));
    QVERIFY(page_->waitFor(QStringLiteral("isAt(15000)")));
    page_->port().letReaderGoAtOnce();
    for (const char* hand : {"keydown", "pointerdown", "touchstart"}) {
        QVERIFY2(stays(20000), hand);
        page_->port().holdReader();
        page_->evaluate(QStringLiteral("root.dispatchEvent(new Event('%1')); 1").arg(QLatin1String(hand)));
        QVERIFY2(stays(40000), hand);
    }
    page_->port().holdReader();
    page_->port().call("scrollToBottom", {});
    QVERIFY(!stays(20000));
    QVERIFY(page_->waitFor(QStringLiteral("isAtEnd()")));
    QVERIFY2(waitUntil([&] { return stays(20000); }, EnginePage::patience), "nobody is held for long");
}

void TestFinding::countsAgainAfterAReload() {
    finder_->search(QStringLiteral("needle"));
    page_->takeMessages();
    QVERIFY(page_->open());
    page_->port().call(
        "setChat",
        {R"({"id":"c","messages":[{"id":"m","role":"user","content":"needle, needle, needle"}]})"});
    QVERIFY(waitUntil([this] { return total_ == 3; }, EnginePage::patience));
}

void TestFinding::anEmptyTextEndsTheSearch() {
    finder_->search(QString());
    QVERIFY(waitForCount(0, 0));
    page_->port().upsert(answer(QStringLiteral("later"), QStringLiteral("the last needle")));
    finder_->next();
    QVERIFY(page_->waitFor(QStringLiteral("document.body.textContent.includes('the last needle')")));
    QCOMPARE(total_, 0);
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestFinding test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestFinding.moc"
