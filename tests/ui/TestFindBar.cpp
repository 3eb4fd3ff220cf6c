#include "WindowTest.h"
#include "chat/FindBar.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>

using namespace teskal::test;

/// Finding in the transcript, by keys, in the window that it belongs to.
class TestFindBar final : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        WindowTest::init();
        window_->detail().setEmpty(false);
        window_->commands().setState({.signedIn = true, .chatSelected = true, .hasMessages = true});
        asked_.clear();
        TeskalCommands& commands = window_->commands();
        connect(&commands, &TeskalCommands::findRequested, &bar(), &FindBar::open);
        connect(&commands, &TeskalCommands::findNextRequested, &bar(), &FindBar::findNext);
        connect(&commands, &TeskalCommands::findPreviousRequested, &bar(), &FindBar::findPrevious);
        connect(&bar(), &FindBar::searchChanged, this,
                [this](const QString& text) { asked_.append(u"search "_qs + text); });
        connect(&bar(), &FindBar::nextRequested, this, [this] { asked_.append(u"next"_qs); });
        connect(&bar(), &FindBar::previousRequested, this, [this] { asked_.append(u"previous"_qs); });
    }

    void keys_data() {
        const auto row = columns<int, Qt::KeyboardModifiers, QString>("key", "modifiers", "asked");
        row("Enter", Qt::Key_Return, Qt::NoModifier, "next");
        row("F3", Qt::Key_F3, Qt::NoModifier, "next");
        row("Ctrl+G", Qt::Key_G, Qt::ControlModifier, "next");
        row("Shift+Enter", Qt::Key_Return, Qt::ShiftModifier, "previous");
        row("Shift+F3", Qt::Key_F3, Qt::ShiftModifier, "previous");
        row("Ctrl+Shift+G", Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, "previous");
        row("Escape", Qt::Key_Escape, Qt::NoModifier, "search ");
    }

    void keys() {
        FETCH(int, key, Qt::KeyboardModifiers, modifiers, QString, asked);
        press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(bar().isVisible());
        QCOMPARE(window_->focusWidget(), field());
        press(Qt::Key(key), modifiers);
        QVERIFY2(asked_.isEmpty() || key == Qt::Key_Escape, "there is nothing to find");
        press(Qt::Key_F, Qt::ControlModifier);
        asked_.clear();
        QTest::keyClicks(field(), u"ab"_qs);
        bar().setCount(1, 2);
        press(Qt::Key(key), modifiers);
        QCOMPARE(asked_, (QStringList{u"search a"_qs, u"search ab"_qs, asked}));
    }

    void countSaysWhatWasFound_data() {
        const auto row = columns<QString, int, int, QString>("text", "active", "total", "shown");
        row("nothing looked for", QString(), 0, 0, QString());
        row("found", "a", 3, 12, "3 of 12");
        row("not found", "a", 0, 0, "No results");
    }

    void countSaysWhatWasFound() {
        FETCH(QString, text, int, active, int, total, QString, shown);
        press(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(field(), text);
        bar().setCount(active, total);
        QCOMPARE(count(), shown);
        QCOMPARE(field()->accessibleDescription(), shown);
        for (const char* name : {"findPreviousButton", "findNextButton"})
            QCOMPARE(button(name)->isEnabled(), total > 0);
        asked_.clear();
        QTest::mouseClick(button("findPreviousButton"), Qt::LeftButton);
        QTest::mouseClick(button("findNextButton"), Qt::LeftButton);
        QCOMPARE(asked_.size(), total > 0 ? 2 : 0);
    }

    void escapeGivesTheFocusBack() {
        QWidget* const composer = &text();
        for (QWidget* before : {page_, composer}) {
            before->setFocus();
            press(Qt::Key_F, Qt::ControlModifier);
            press(Qt::Key_F, Qt::ControlModifier); // twice must not forget where the focus was
            button("findCloseButton")->setFocus(Qt::TabFocusReason);
            press(Qt::Key_Escape);
            QVERIFY(!bar().isVisible());
            QCOMPARE(window_->focusWidget(), before);
        }
        // What the user moved to meanwhile keeps the focus.
        page_->setFocus();
        press(Qt::Key_F, Qt::ControlModifier);
        composer->setFocus();
        QTest::mouseClick(button("findCloseButton"), Qt::LeftButton);
        QCOMPARE(window_->focusWidget(), composer);
    }

    void opensWithTheLastText() {
        press(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(field(), u"ab"_qs);
        press(Qt::Key_Escape);
        asked_.clear();
        press(Qt::Key_F3);
        QVERIFY(bar().isVisible());
        QCOMPARE(asked_, QStringList{u"search ab"_qs});
        QCOMPARE(field()->selectedText(), u"ab"_qs);
    }

    void leavesWithTheTranscript() {
        press(Qt::Key_F, Qt::ControlModifier);
        window_->detail().setEmpty(true);
        QVERIFY(!bar().isVisible());
        QCOMPARE(window_->focusWidget(), &text());
        window_->commands().setState({.signedIn = true});
        press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(!bar().isVisible());
    }

    void staysInsideItsChat_data() {
        rows<QSize>("size", {{"usual", QSize(1100, 760)}, {"least", QSize(640, 480)}});
    }

    void staysInsideItsChat() {
        QFETCH(const QSize, size);
        window_->resize(size);
        bar().open();
        QTRY_VERIFY(page_->parentWidget()->geometry().contains(bar().geometry()));
        QVERIFY2(field()->width() >= 60, "there is room to type");
    }

private:
    FindBar& bar() const { return window_->detail().findBar(); }
    QLineEdit* field() const { return bar().findChild<QLineEdit*>(); }
    QString count() const { return bar().findChild<QLabel*>(u"findCount"_qs)->text(); }
    QAbstractButton* button(const char* name) const {
        return bar().findChild<QAbstractButton*>(QLatin1String(name));
    }

    QStringList asked_;
};

QTEST_MAIN(TestFindBar)
#include "TestFindBar.moc"
