#include "EnginePage.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QTest>
#include <QWebEngineFindTextResult>

#include <memory>

using namespace teskal;
using namespace teskal::test;

namespace {

/// A chat with two pictures in its question and an answer that has all there is around it.
const char chat[] = R"JS(
    (() => {
        const picture = (colour) => {
            const canvas = document.createElement('canvas');
            canvas.width = 300;
            canvas.height = 200;
            const context = canvas.getContext('2d');
            context.fillStyle = colour;
            context.fillRect(0, 0, 300, 200);
            return canvas.toDataURL('image/png');
        };
        const attachments = [['first.png', 'teal'], ['second.png', 'orange']]
            .map(([name, colour]) => ({ name, mediaType: 'image/png', dataUrl: picture(colour) }));
        const route = { name: 'Model One', lab: 'Example Lab', task: 'code', difficulty: 'hard', effort: 'high',
            web: true, anonymized: '2', preference: 'quality', decision: { reason: 'A sentence of reasons. '.repeat(9) } };
        teskal.setBusy(false);
        teskal.setChat({ id: 'c', messages: [
            { id: 'q', role: 'user', content: 'Question', attachments: [...attachments,
                { name: 'n'.repeat(300) + '.pdf', mediaType: 'application/pdf', url: 'teskal-app://file/abcd' }] },
            { id: 'a', role: 'assistant', content: 'An answer.', route },
        ] });
    })()
)JS";

} // namespace

/// Buttons, pictures and indicators around the text of messages.
class TestControls : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void areReachedByTabInOrder();
    void picturesOpenLargeByKeys();
    void picturesCloseByPointer();
    void labelsAreNotFound();
    void nothingIsAnimated();
    void aNarrowWindowBreaksNothing_data();
    void aNarrowWindowBreaksNothing();

private:
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&page_->input(), key, modifiers);
    }
    bool focusIsOn(const QString& name) {
        return page_->waitFor(
            QStringLiteral("document.activeElement.getAttribute('aria-label') === '%1'").arg(name));
    }
    bool largeShows(const QString& name) {
        return page_->waitFor(QStringLiteral("(p => p && p.naturalWidth === 300 && p.alt === '%1')"
                                             "(document.querySelector('dialog[open] img'))")
                                  .arg(name));
    }

    std::unique_ptr<EnginePage> page_;
};

void TestControls::initTestCase() {
    page_ = std::make_unique<EnginePage>();
    QVERIFY(page_->open());
    page_->input().setFocus();
}

void TestControls::init() {
    page_->window().resize(800, 600);
    page_->evaluate(QString::fromUtf8(chat));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelectorAll('article').length === 2")));
}

void TestControls::areReachedByTabInOrder() {
    const QStringList names{QStringLiteral("first.png"),      QStringLiteral("second.png"),
                            QStringLiteral("Why this model"), QStringLiteral("Copy"),
                            QStringLiteral("Read aloud"),     QStringLiteral("Ask again")};
    for (const QString& name : names) {
        key(Qt::Key_Tab);
        QVERIFY2(focusIsOn(name), qPrintable(name));
        QVERIFY(page_
                    ->evaluate(QStringLiteral("getComputedStyle(document.activeElement).outlineStyle === "
                                              "'solid' && document.activeElement.matches(':focus-visible')"))
                    .toBool());
    }
    page_->takeMessages();
    key(Qt::Key_Return);
    QVERIFY(waitUntil([this] { return !page_->messages().isEmpty(); }, EnginePage::patience));
    QCOMPARE(page_->messages().first(), (QJsonObject{{QStringLiteral("type"), QStringLiteral("retry")}}));
}

void TestControls::picturesOpenLargeByKeys() {
    page_->evaluate(QStringLiteral("document.querySelector('.opens-large').focus()"));
    key(Qt::Key_Return);
    QVERIFY(largeShows(QStringLiteral("first.png")));
    QVERIFY(focusIsOn(QStringLiteral("Close")));
    key(Qt::Key_Right);
    QVERIFY(largeShows(QStringLiteral("second.png")));
    for (const char* name : {"Previous picture", "Close", "Previous picture"}) {
        key(Qt::Key_Tab);
        QVERIFY2(focusIsOn(QLatin1String(name)), name);
    }
    key(Qt::Key_Escape);
    QVERIFY(page_->waitFor(QStringLiteral("!document.querySelector('dialog')")));
    QVERIFY(focusIsOn(QStringLiteral("first.png")));
}

void TestControls::picturesCloseByPointer() {
    page_->evaluate(QStringLiteral("document.querySelector('.opens-large').click()"));
    QVERIFY(largeShows(QStringLiteral("first.png")));
    QTest::mouseClick(&page_->input(), Qt::LeftButton, {}, {20, 580});
    QVERIFY(page_->waitFor(QStringLiteral("!document.querySelector('dialog')")));
}

void TestControls::labelsAreNotFound() {
    page_->evaluate(QStringLiteral("teskal.setChat({id:'d',messages:[{id:'e',role:'assistant',content:"
                                   "'Some text\\n\\n```\\nx\\n```',error:{message:'Broken.'}}]})"));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelectorAll('article [data-label]').length === 2")));
    const auto found = [this](const QString& text) {
        std::optional<int> count;
        page_->page().findText(
            text, {}, [&count](const QWebEngineFindTextResult& result) { count = result.numberOfMatches(); });
        return waitUntil([&count] { return count.has_value(); }, EnginePage::patience) ? *count : -1;
    };
    QCOMPARE(found(QStringLiteral("Some text")), 1);
    QCOMPARE(found(QStringLiteral("Ask again")), 0);
    QCOMPARE(found(QStringLiteral("Copy")), 0);
    page_->page().findText({});
}

/// An animation would keep the compositor busy for as long as an answer is under way.
void TestControls::nothingIsAnimated() {
    page_->evaluate(QStringLiteral(
        "teskal.setChat({id:'d',messages:[{id:'r',role:'assistant',content:'Read'},"
        "{id:'v',role:'assistant',content:'',media:{type:'video',status:'pending',startedAt:Date.now()}},"
        "{id:'p',role:'assistant',content:'Half',pending:true,"
        "activity:{phase:'Searching',searches:['x'],steps:['y']}}]});teskal.setAudio('r','loading')"));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelector('.caret.off')")));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelector('.elapsed').dataset.label === '0:02'")));
    QVERIFY(page_->waitFor(QStringLiteral("document.querySelector('.dot:nth-child(3).on')")));
    QCOMPARE(page_->evaluate(QStringLiteral("document.getAnimations().length")).toInt(), 0);
    page_->evaluate(QStringLiteral("teskal.setAudio('r','idle')"));
}

void TestControls::aNarrowWindowBreaksNothing_data() {
    QTest::addColumn<QString>("action");
    QTest::newRow("as it opens") << QString();
    QTest::newRow("with the reasons") << QStringLiteral("document.querySelector('.disclosure').click()");
}

void TestControls::aNarrowWindowBreaksNothing() {
    QFETCH(QString, action);
    page_->window().resize(320, 600);
    page_->evaluate(action);
    QVERIFY(page_->waitFor(QStringLiteral("innerWidth === 320")));
    QCOMPARE(page_
                 ->evaluate(QStringLiteral(
                     "[...document.querySelectorAll('article *')].filter(e => {"
                     "const r = e.getBoundingClientRect(); return r.right > 320 || r.left < 0})"
                     ".map(e => e.className + ' ' + e.tagName).join()"))
                 .toString(),
             QString());
    QVERIFY(page_->evaluate(QStringLiteral("document.documentElement.scrollWidth <= 320")).toBool());
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestControls test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestControls.moc"
