#include "WindowTest.h"
#include "dialogs/ConfirmDialog.h"
#include "dialogs/FolderNameField.h"
#include "dialogs/NameDialog.h"
#include "dialogs/RenameField.h"

#include <QAccessible>
#include <QPushButton>

using namespace teskal::test;

/// The dialogs over their window: keys and clicks, and where the keyboard is afterwards.
class TestDialogs final : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }

    void init() {
        WindowTest::init();
        QTRY_VERIFY(text().hasFocus());
    }

    void confirming_data() {
        const auto row = columns<QList<Qt::Key>, bool>("keys", "confirms");
        row("Return cancels", QList{Qt::Key_Return}, false);
        row("Escape cancels", QList{Qt::Key_Escape}, false);
        row("Space cancels", QList{Qt::Key_Space}, false);
        row("Tab and Return delete", QList{Qt::Key_Tab, Qt::Key_Return}, true);
        row("around and Return cancel", QList{Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return}, false);
    }

    void confirming() {
        FETCH(QList<Qt::Key>, keys, bool, confirms);
        ConfirmDialog dialog(theme_, u"Delete this chat?"_qs, u"It goes."_qs, *window_);
        QSignalSpy confirmed(&dialog, &ConfirmDialog::confirmed);
        QSignalSpy cancelled(&dialog, &ConfirmDialog::cancelled);
        dialog.open();
        const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&dialog);
        QCOMPARE(spoken->role(), QAccessible::Dialog);
        QVERIFY(spoken->state().modal);
        QCOMPARE(spoken->text(QAccessible::Name), u"Delete this chat?"_qs);
        QCOMPARE(spoken->text(QAccessible::Description), u"It goes."_qs);
        QCOMPARE(dialog.findChild<QPushButton*>(u"deleteButton"_qs)->text(), u"Delete"_qs);
        for (const Qt::Key key : keys)
            press(key);
        QCOMPARE(confirmed.count(), confirms ? 1 : 0);
        QCOMPARE(cancelled.count(), confirms ? 0 : 1);
        dialog.dismiss();
        QTRY_VERIFY2(text().hasFocus(), "the keyboard returns");
    }

    void naming_data() {
        const auto row = columns<QString, bool, QString>("typed", "byMouse", "name");
        row("Return", "Kitchen", false, "Kitchen");
        row("click", "Kitchen", true, "Kitchen");
        row("trimmed", "  Kitchen ", false, "Kitchen");
        row("empty", QString(), false, QString());
        row("blank", "   ", true, QString());
    }

    void naming() {
        FETCH(QString, typed, bool, byMouse, QString, name);
        NameDialog dialog(theme_, u"New folder"_qs, new FolderNameField(theme_, {}), u"Create"_qs, *window_);
        QSignalSpy submitted(&dialog, &NameDialog::submitted);
        QSignalSpy cancelled(&dialog, &NameDialog::cancelled);
        dialog.open();
        QVERIFY(qobject_cast<FolderNameField*>(QApplication::focusWidget()));
        QTest::keyClicks(QApplication::focusWidget(), typed);
        if (byMouse)
            QTest::mouseClick(dialog.findChild<QPushButton*>(u"submitButton"_qs), Qt::LeftButton);
        else
            press(Qt::Key_Return);
        QCOMPARE(submitted.count(), name.isEmpty() ? 0 : 1);
        if (!name.isEmpty())
            QCOMPARE(submitted.at(0).at(0).toString(), name);
        QVERIFY(cancelled.isEmpty());
        QVERIFY2(dialog.isVisible(), "whoever opened it closes it");
        press(Qt::Key_Escape);
        QCOMPARE(cancelled.count(), 1);
    }

    void nothingReachesTheWindowBehind() {
        ConfirmDialog dialog(theme_, u"Delete?"_qs, u"It goes."_qs, *window_);
        dialog.open();
        QSignalSpy newChat(&window_->commands(), &TeskalCommands::newChatRequested);
        QSignalSpy quit(&window_->commands(), &TeskalCommands::quitRequested);
        press(Qt::Key_N, Qt::ControlModifier);
        QVERIFY(newChat.isEmpty());
        press(Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(quit.count(), 1);
        composer().focusText();
        QVERIFY2(dialog.isAncestorOf(QApplication::focusWidget()), "the dialog keeps the keyboard");
        for (const QSize size : {QSize(640, 480), QSize(1300, 900)}) {
            window_->resize(size);
            QTRY_COMPARE(dialog.size(), size);
            const QRect card = dialog.findChild<QWidget*>(u"cancelButton"_qs)->parentWidget()->geometry();
            QVERIFY(dialog.rect().contains(card));
            QVERIFY(qAbs(card.center().x() - dialog.rect().center().x()) <= 1);
        }
        QTest::mouseClick(&dialog, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QVERIFY(dialog.isVisible());
    }
};

QTEST_MAIN(TestDialogs)
#include "TestDialogs.moc"
