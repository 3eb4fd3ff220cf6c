#include "Columns.h"
#include "EnginePage.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QTest>
#include <QWebEngineFindTextResult>

#include <memory>

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
class TestControls : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>();
        QVERIFY(page_->open());
        page_->input().setFocus();
    }

    void init() {
        page_->window().resize(800, 600);
        page_->evaluate(QString::fromUtf8(chat));
        QVERIFY(page_->waitFor(shownMessages + u" === 2"_qs));
    }

    void areReachedByTabInOrder() {
        const QStringList names{u"first.png"_qs, u"second.png"_qs, u"Why this model"_qs,
                                u"Copy"_qs,      u"Read aloud"_qs, u"Ask again"_qs};
        for (const QString& name : names) {
            key(Qt::Key_Tab);
            QVERIFY2(focusIsOn(name), qPrintable(name));
            QVERIFY(page_->holds(u"getComputedStyle(document.activeElement).outlineStyle === "
                                 "'solid' && document.activeElement.matches(':focus-visible')"_qs));
        }
        page_->takeMessages();
        key(Qt::Key_Return);
        QVERIFY(waitUntil([this] { return !page_->messages().isEmpty(); }, EnginePage::patience));
        QCOMPARE(page_->messages().first(), (QJsonObject{{u"type"_qs, u"retry"_qs}}));
        // The button goes, and the keyboard goes on from its message.
        page_->evaluate(u"teskal.setBusy(true)"_qs);
        QVERIFY(focusIsOn(u"Teskal, Model One"_qs));
        key(Qt::Key_Tab);
        QVERIFY(focusIsOn(u"Why this model"_qs));
    }

    void picturesOpenLargeAndClose() {
        page_->evaluate(u"document.querySelector('.opens-large').focus()"_qs);
        key(Qt::Key_Return);
        QVERIFY(largeShows(u"first.png"_qs));
        QVERIFY(focusIsOn(u"Close"_qs));
        key(Qt::Key_Right);
        QVERIFY(largeShows(u"second.png"_qs));
        for (const char* name : {"Previous picture", "Close", "Previous picture"}) {
            key(Qt::Key_Tab);
            QVERIFY2(focusIsOn(QLatin1String(name)), name);
        }
        key(Qt::Key_Escape);
        QVERIFY(page_->waitFor(u"!document.querySelector('dialog')"_qs));
        QVERIFY(focusIsOn(u"first.png"_qs));

        key(Qt::Key_Return);
        QVERIFY(largeShows(u"first.png"_qs));
        QTest::mouseClick(&page_->input(), Qt::LeftButton, {}, {20, 580});
        QVERIFY(page_->waitFor(u"!document.querySelector('dialog')"_qs));
    }

    void labelsAreNotFound() {
        page_->evaluate(u"teskal.setChat({id:'d',messages:[{id:'e',role:'assistant',content:"
                        "'Some text\\n\\n```\\nx\\n```',error:{message:'Broken.'}}]})"_qs);
        QVERIFY(page_->waitFor(
            u"document.querySelectorAll('.messages:not([hidden]) [data-label]').length === 2"_qs));
        const auto found = [this](const QString& text) {
            std::optional<int> count;
            page_->page().findText(text, {}, [&count](const QWebEngineFindTextResult& result) {
                count = result.numberOfMatches();
            });
            return waitUntil([&count] { return count.has_value(); }, EnginePage::patience) ? *count : -1;
        };
        QCOMPARE(found(u"Some text"_qs), 1);
        QCOMPARE(found(u"Ask again"_qs), 0);
        QCOMPARE(found(u"Copy"_qs), 0);
        page_->page().findText({});
    }

    void theKeyboardStopsWhereSomethingScrolls() {
        page_->evaluate(uR"JS((() => {
            const table = (cell) => `|a|b|\n|-|-|\n|${cell}|${cell}|\n\n`;
            const code = (line) => `\`\`\`js\n${line}\n\`\`\`\n\n`;
            const formula = (terms) => `$$\n${'x+'.repeat(terms)}x\n$$\n\n`;
            const long = 'w'.repeat(300);
            teskal.setChat({ id: 'd', messages: [{ id: 'e', role: 'assistant',
                content: table('w') + code('w') + formula(1) + code(long) + table(long) + formula(150) }] });
        })())JS"_qs);
        QVERIFY(page_->waitFor(u"document.querySelectorAll('.katex-display').length === 2"_qs));
        for (const char* name : {"Copy code", "Copy code", "Code, js", "Table", "Formula", "Copy"}) {
            key(Qt::Key_Tab);
            QVERIFY2(focusIsOn(QLatin1String(name)), name);
        }
    }

    /// The engine draws nothing of what is outside of a message or section that it may leave out.
    void nothingAtTheEdgesIsCut() {
        page_->evaluate(uR"JS((() => {
            const code = `\`\`\`\n${'w'.repeat(300)}\n\`\`\`\n\n`;
            const media = { type: 'music', status: 'done', lyrics: 'La', url: 'data:audio/wav;base64,AA' };
            const content = `${'x\n\n'.repeat(38)}${code}1000. x\n\n${code}`;
            teskal.setChat({ id: 'd', messages: [{ id: 'e', role: 'assistant', route: { name: 'M' }, media, content },
                { id: 'f', role: 'assistant', content: 'x' }] });
            // With a frame the engine decides what of it is laid out.
            window.framesSeen = 0;
            const count = () => { window.framesSeen += 1; requestAnimationFrame(count); };
            requestAnimationFrame(count);
        })())JS"_qs);
        QVERIFY(page_->waitFor(shownMessages + u" === 2 && framesSeen > 1"_qs));
        const QVariant cut = page_->evaluate(uR"JS((() => {
            const edges = [...document.querySelectorAll('article button, summary, audio, .code, li')]
                .filter((shown) => shown.getBoundingClientRect().top > 0);
            if (edges.length < 9) throw new Error('too little is shown');
            return edges.filter((shown) => {
                const { left, right, top, bottom } = shown.getBoundingClientRect();
                // An outline, and beside a list its numbers.
                const [side, rest] = [shown.tagName === 'LI' ? 40 : 4, 4];
                const clips = ['.message', '.section', '.chapter', '.answer-text', 'ol'].map((clip) => shown.closest(clip)).filter(Boolean);
                return clips.some((clip) => {
                    const box = clip.getBoundingClientRect();
                    return left - side < box.left || right + rest > box.right || (shown.tagName !== 'LI'
                        && (top - rest < box.top || bottom + rest > box.bottom));
                });
            }).map((shown) => shown.outerHTML.slice(0, 60)).join();
        })())JS"_qs);
        QVERIFY2(cut.isValid() && cut.toString().isEmpty(), qPrintable(cut.toString()));
        QVERIFY(page_->holds(u"document.documentElement.scrollWidth <= innerWidth"_qs));
    }

    void textTakesItsOwnDirection() {
        page_->evaluate(uR"JS((() => {
            const text = '\u05e9\u05dc\u05d5\u05dd!';
            teskal.setChat({ id: 'd', messages: [{ id: 'q', role: 'user', content: 'Latin words\n' + text },
                { id: 'a', role: 'assistant', content: `${text}\n\nLatin\n\n- ${text}\n\n\`\`\`\n${text}\n\`\`\`` }] });
        })())JS"_qs);
        QVERIFY(page_->waitFor(shownMessages + u" === 2"_qs));
        // Where the exclamation mark stands: at the left of what is read from the right.
        QCOMPARE(page_->text(uR"JS(
            const place = (node, at) => {
                const range = document.createRange();
                range.setStart(node, at);
                range.setEnd(node, at + 1);
                return range.getBoundingClientRect().left;
            };
            const texts = document.createTreeWalker(document.querySelector('.messages'), NodeFilter.SHOW_TEXT);
            const found = [];
            while (texts.nextNode()) {
                const { data } = texts.currentNode;
                const mark = data.indexOf('!');
                if (mark < 0) continue;
                const parent = texts.currentNode.parentElement.closest('.bubble, p, pre').localName;
                found.push(`${parent} ${place(texts.currentNode, mark) < place(texts.currentNode, mark - 1)}`);
            }
            found.join(', ')
        )JS"_qs),
                 u"div true, p true, p true, pre false"_qs);
    }

    /// An animation would keep the compositor busy for as long as an answer is under way.
    void nothingIsAnimated() {
        page_->evaluate(
            u"teskal.setChat({id:'d',messages:[{id:'r',role:'assistant',content:'Read'},"
            "{id:'v',role:'assistant',content:'',media:{type:'video',status:'pending',startedAt:Date.now()}},"
            "{id:'p',role:'assistant',content:'Half',pending:true,"
            "activity:{phase:'Searching',searches:['x'],steps:['y']}}]});teskal.setAudio('r','loading')"_qs);
        QVERIFY(page_->waitFor(u"document.querySelector('.caret.off')"_qs));
        QVERIFY(page_->waitFor(u"document.querySelector('.elapsed').dataset.label === '0:02'"_qs));
        QVERIFY(page_->waitFor(u"document.querySelector('.dot:nth-child(3).on')"_qs));
        QCOMPARE(page_->evaluate(u"document.getAnimations().length"_qs).toInt(), 0);
        page_->evaluate(u"teskal.setAudio('r','idle')"_qs);
    }

    void aRehearsalLeavesNothing() {
        EnginePage page;
        QVERIFY(page.open());
        page.evaluate(u"window.seen = [];"
                      "new MutationObserver(() => { const stage = document.querySelector('.stage');"
                      "if (stage) seen.push([stage.inert, stage.ariaHidden === 'true',"
                      "getComputedStyle(stage).visibility === 'hidden',"
                      "stage.querySelector('table') !== null]);"
                      "}).observe(document.body, { childList: true, subtree: true })"_qs);
        QVERIFY(page.waitFor(u"seen.length > 0 && !document.querySelector('.stage')"_qs));
        QVERIFY(page.holds(u"seen.every(([inert, silent, hidden]) => inert && silent && hidden)"
                           "&& seen.some(([, , , table]) => table)"_qs));
        QCOMPARE(page.text(u"document.body.innerText.trim()"_qs), QString());
        QCOMPARE(page.messages().size(), 1); // "ready"
    }

    void aNarrowWindowBreaksNothing_data() {
        rows<QString>("action", {{"as it opens", QString()},
                                 {"with the reasons", u"document.querySelector('.disclosure').click()"_qs}});
    }
    void aNarrowWindowBreaksNothing() {
        QFETCH(QString, action);
        page_->window().resize(320, 600);
        page_->evaluate(action);
        QVERIFY(page_->waitFor(u"innerWidth === 320"_qs));
        QCOMPARE(page_->text(u"[...document.querySelectorAll('article *')].filter(e => {"
                             "const r = e.getBoundingClientRect(); return r.right > 320 || r.left < 0})"
                             ".map(e => e.className + ' ' + e.tagName).join()"_qs),
                 QString());
        QVERIFY(page_->holds(u"document.documentElement.scrollWidth <= 320"_qs));
    }

private:
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&page_->input(), key, modifiers);
    }
    bool focusIsOn(const QString& name) {
        return page_->waitFor(u"document.activeElement.getAttribute('aria-label') === '%1'"_qs.arg(name));
    }
    bool largeShows(const QString& name) {
        return page_->waitFor(u"(p => p && p.naturalWidth === 300 && p.alt === '%1')"
                              "(document.querySelector('dialog[open] img'))"_qs.arg(name));
    }

    std::unique_ptr<EnginePage> page_;
};

QTEST_MAIN(TestControls)
#include "TestControls.moc"
