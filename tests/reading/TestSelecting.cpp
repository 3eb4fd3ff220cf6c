#include "Conversation.h"
#include "WaitUntil.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

/// Text can be selected across messages while an answer grows, and what is copied is what was said.
class TestSelecting : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>();
        QVERIFY(page_->open());
    }

    void theSelectionOutlivesTheGrowth_data();
    void theSelectionOutlivesTheGrowth();
    void copyingGivesCleanText();

private:
    QString selected() { return page_->evaluate(QStringLiteral("String(getSelection())")).toString(); }
    /// Selects from the first \a from to the last \a to in the page's text.
    void select(const QString& from, const QString& to);

    std::unique_ptr<EnginePage> page_;
};

void TestSelecting::select(const QString& from, const QString& to) {
    page_->evaluate(
        QStringLiteral("(() => {"
                       "const walker = document.createTreeWalker(document.getElementById('transcript'), "
                       "NodeFilter.SHOW_TEXT);"
                       "const texts = []; while (walker.nextNode()) texts.push(walker.currentNode);"
                       "const first = texts.find(text => text.data.includes('%1'));"
                       "const last = texts.reverse().find(text => text.data.includes('%2'));"
                       "getSelection().setBaseAndExtent(first, first.data.indexOf('%1'), last, "
                       "last.data.lastIndexOf('%2') + %3);"
                       "})()")
            .arg(from, to)
            .arg(to.size()));
}

void TestSelecting::theSelectionOutlivesTheGrowth_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("more");
    QTest::newRow("paragraph") << "First paragraph.\n\nThe one that gro"
                               << "gro"
                               << "ws *on* and more";
    QTest::newRow("list") << "- one\n- two\n- thr"
                          << "two"
                          << "ee\n- four and more";
    QTest::newRow("item") << "- one\n- two\n- thr"
                          << "thr"
                          << "ee and more";
    QTest::newRow("code") << "```js\nlet one;\nlet tw"
                          << "one;"
                          << "o;\nlet three; and more";
    QTest::newRow("table") << "|a|b|\n|-|-|\n|1|2|\n|3"
                           << "2"
                           << "|4|\n|5|6 and more|";
    QTest::newRow("quote") << "> said\n>\n> and sa"
                           << "said"
                           << "id and more";
    QTest::newRow("formula behind") << "One $x^2$ and tw"
                                    << "and"
                                    << "o and more";
    QTest::newRow("closing code") << "```js\nlet one;\n"
                                  << "one;"
                                  << "```\n\nDone and more";
}

void TestSelecting::theSelectionOutlivesTheGrowth() {
    QFETCH(QString, text);
    QFETCH(QString, end);
    QFETCH(QString, more);
    QVERIFY(showChat(*page_, {question(QStringLiteral("q"), QStringLiteral("Question")),
                              answer(QStringLiteral("a"), text, true)}));
    select(QStringLiteral("estion"), end);
    const QString before = selected();
    QVERIFY2(before.startsWith(QLatin1String("estion")) && before.endsWith(end), qPrintable(before));
    for (const QChar character : more) {
        text += character;
        upsert(*page_, answer(QStringLiteral("a"), text, true));
    }
    upsert(*page_, answer(QStringLiteral("a"), text));
    QVERIFY(page_->waitFor(QStringLiteral("document.body.textContent.includes('and more')")));
    // Colours come later, and in the middle of what is selected.
    if (text.contains(QLatin1String("```js")))
        QVERIFY(page_->waitFor(QStringLiteral("document.querySelector('.hljs-keyword')")));
    QCOMPARE(selected(), before);
}

void TestSelecting::copyingGivesCleanText() {
    const auto text = QStringLiteral("Look:\n\n```js\nlet x = 1;\n```\n\n- [x] done\n\nEnd");
    QVERIFY(showChat(*page_, {question(QStringLiteral("q"), QStringLiteral("My\nquestion")),
                              answer(QStringLiteral("a"), text)}));
    QGuiApplication::clipboard()->clear();
    select(QStringLiteral("My"), QStringLiteral("End"));
    page_->page().triggerAction(QWebEnginePage::Copy);
    QVERIFY(waitUntil([] { return !QGuiApplication::clipboard()->text().isEmpty(); }));
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QCOMPARE(data->text(), QStringLiteral("My\nquestion\n\nLook:\n\nlet x = 1;\n\n- [x] done\n\nEnd"));
    for (const char* foreign : {"class=", "button", "style=\"color", "js</span"})
        QVERIFY2(!data->html().contains(QLatin1String(foreign)), qPrintable(data->html()));
    QVERIFY(data->html().contains(QLatin1String("<pre><code>let x = 1;")));
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestSelecting test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSelecting.moc"
