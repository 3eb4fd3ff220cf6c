#include "Columns.h"
#include "Conversation.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>

using namespace teskal::test;

/// Text can be selected across messages while an answer grows, and what is copied is what was said.
class TestSelecting : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>();
        QVERIFY(page_->open());
    }

    void theSelectionOutlivesTheGrowth_data() {
        const auto row = columns<QString, QString, QString>("text", "end", "more");
        row("paragraph", "First paragraph.\n\nThe one that gro", "gro", "ws *on* and more");
        row("list", "- one\n- two\n- thr", "two", "ee\n- four and more");
        row("item", "- one\n- two\n- thr", "thr", "ee and more");
        row("code", "```js\nlet one;\nlet tw", "one;", "o;\nlet three; and more");
        row("table", "|a|b|\n|-|-|\n|1|2|\n|3", "2", "|4|\n|5|6 and more|");
        row("quote", "> said\n>\n> and sa", "said", "id and more");
        row("formula behind", "One $x^2$ and tw", "and", "o and more");
        row("closing code", "```js\nlet one;\n", "one;", "```\n\nDone and more");
    }
    void theSelectionOutlivesTheGrowth() {
        QFETCH(QString, text);
        FETCH(QString, end, QString, more);
        QVERIFY(showChat(*page_, {question(u"q"_qs, u"Question"_qs), answer(u"a"_qs, text, true)}));
        select(u"estion"_qs, end);
        const QString before = selected();
        QVERIFY2(before.startsWith(QLatin1String("estion")) && before.endsWith(end), qPrintable(before));
        for (const QChar character : more) {
            text += character;
            upsert(*page_, answer(u"a"_qs, text, true));
        }
        upsert(*page_, answer(u"a"_qs, text));
        QVERIFY(page_->waitFor(u"document.body.textContent.includes('and more')"_qs));
        // Colours come later, and in the middle of what is selected.
        if (text.contains(QLatin1String("```js")))
            QVERIFY(page_->waitFor(u"document.querySelector('.hljs-keyword')"_qs));
        QCOMPARE(selected(), before);
    }

    void copyingGivesCleanText() {
        const auto text = u"Look:\n\n```js\nlet x = 1;\n```\n\n- [x] done\n\nEnd"_qs;
        QVERIFY(showChat(*page_, {question(u"q"_qs, u"My\nquestion"_qs), answer(u"a"_qs, text)}));
        QGuiApplication::clipboard()->clear();
        select(u"My"_qs, u"End"_qs);
        page_->page().triggerAction(QWebEnginePage::Copy);
        QVERIFY(waitUntil([] { return !QGuiApplication::clipboard()->text().isEmpty(); }));
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        QCOMPARE(data->text(), u"My\nquestion\n\nLook:\n\nlet x = 1;\n\n- [x] done\n\nEnd"_qs);
        for (const char* foreign : {"class=", "button", "style=\"color", "js</span"})
            QVERIFY2(!data->html().contains(QLatin1String(foreign)), qPrintable(data->html()));
        QVERIFY(data->html().contains(QLatin1String("<pre><code>let x = 1;")));
    }

private:
    QString selected() { return page_->text(u"String(getSelection())"_qs); }
    /// Selects from the first \a from to the last \a to in the page's text.
    void select(const QString& from, const QString& to) {
        page_->evaluate(u"(() => {"
                        "const walker = document.createTreeWalker(document.getElementById('transcript'), "
                        "NodeFilter.SHOW_TEXT);"
                        "const texts = []; while (walker.nextNode()) texts.push(walker.currentNode);"
                        "const first = texts.find(text => text.data.includes('%1'));"
                        "const last = texts.reverse().find(text => text.data.includes('%2'));"
                        "getSelection().setBaseAndExtent(first, first.data.indexOf('%1'), last, "
                        "last.data.lastIndexOf('%2') + %3);"
                        "})()"_qs.arg(from, to)
                            .arg(to.size()));
    }

    std::unique_ptr<EnginePage> page_;
};

QTEST_MAIN(TestSelecting)
#include "TestSelecting.moc"
