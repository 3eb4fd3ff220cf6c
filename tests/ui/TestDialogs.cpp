#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "dialogs/ConfirmDialog.h"
#include "dialogs/FolderNameField.h"
#include "dialogs/NameDialog.h"
#include "dialogs/RenameField.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace teskal;

/// The dialogs over their window: keys and clicks, and where the keyboard is afterwards.
class TestDialogs : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void confirming_data();
    void confirming();
    void naming_data();
    void naming();
    void nothingReachesTheWindowBehind();
    void theFieldShowsWhatIsRenamed();

private:
    QWidget& composer() { return window_->detail().composer().textView(); }
    /// Presses \a key where the keyboard is.
    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }

    Theme theme_;
    QTemporaryDir folder_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<MainWindow> window_;
};

void TestDialogs::initTestCase() {
    theme_.install(*qApp);
    QAccessible::setActive(true);
}

void TestDialogs::init() {
    settings_ = std::make_unique<QSettings>(folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    window_ = std::make_unique<MainWindow>(theme_, *settings_);
    window_->setPage(MainWindow::Page::Chats);
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    QTRY_VERIFY(composer().hasFocus());
}

void TestDialogs::confirming_data() {
    QTest::addColumn<QList<Qt::Key>>("keys");
    QTest::addColumn<bool>("confirms");
    QTest::newRow("Return cancels") << QList{Qt::Key_Return} << false;
    QTest::newRow("Escape cancels") << QList{Qt::Key_Escape} << false;
    QTest::newRow("Space cancels") << QList{Qt::Key_Space} << false;
    QTest::newRow("Tab and Return delete") << QList{Qt::Key_Tab, Qt::Key_Return} << true;
    QTest::newRow("around and Return cancel") << QList{Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return} << false;
}

void TestDialogs::confirming() {
    QFETCH(const QList<Qt::Key>, keys);
    QFETCH(const bool, confirms);
    ConfirmDialog dialog(theme_, QStringLiteral("Delete this chat?"), QStringLiteral("It goes."), *window_);
    QSignalSpy confirmed(&dialog, &ConfirmDialog::confirmed);
    QSignalSpy cancelled(&dialog, &ConfirmDialog::cancelled);
    dialog.open();
    const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&dialog);
    QCOMPARE(spoken->role(), QAccessible::Dialog);
    QVERIFY(spoken->state().modal);
    QCOMPARE(spoken->text(QAccessible::Name), QStringLiteral("Delete this chat?"));
    QCOMPARE(spoken->text(QAccessible::Description), QStringLiteral("It goes."));
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("deleteButton"))->text(),
             QStringLiteral("Delete"));
    for (const Qt::Key key : keys)
        press(key);
    QCOMPARE(confirmed.count(), confirms ? 1 : 0);
    QCOMPARE(cancelled.count(), confirms ? 0 : 1);
    dialog.dismiss();
    QTRY_VERIFY2(composer().hasFocus(), "the keyboard returns");
}

void TestDialogs::naming_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("byMouse");
    QTest::addColumn<QString>("name");
    QTest::newRow("Return") << QStringLiteral("Kitchen") << false << QStringLiteral("Kitchen");
    QTest::newRow("click") << QStringLiteral("Kitchen") << true << QStringLiteral("Kitchen");
    QTest::newRow("trimmed") << QStringLiteral("  Kitchen ") << false << QStringLiteral("Kitchen");
    QTest::newRow("empty") << QString() << false << QString();
    QTest::newRow("blank") << QStringLiteral("   ") << true << QString();
}

void TestDialogs::naming() {
    QFETCH(const QString, typed);
    QFETCH(const bool, byMouse);
    QFETCH(const QString, name);
    NameDialog dialog(theme_, QStringLiteral("New folder"), new FolderNameField(theme_, {}),
                      QStringLiteral("Create"), *window_);
    QSignalSpy submitted(&dialog, &NameDialog::submitted);
    QSignalSpy cancelled(&dialog, &NameDialog::cancelled);
    dialog.open();
    QVERIFY(qobject_cast<FolderNameField*>(QApplication::focusWidget()));
    QTest::keyClicks(QApplication::focusWidget(), typed);
    if (byMouse)
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("submitButton")), Qt::LeftButton);
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

void TestDialogs::nothingReachesTheWindowBehind() {
    ConfirmDialog dialog(theme_, QStringLiteral("Delete?"), QStringLiteral("It goes."), *window_);
    dialog.open();
    QSignalSpy newChat(&window_->commands(), &TeskalCommands::newChatRequested);
    QSignalSpy quit(&window_->commands(), &TeskalCommands::quitRequested);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_N, Qt::ControlModifier);
    QVERIFY(newChat.isEmpty());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(quit.count(), 1);
    window_->detail().composer().focusText();
    QVERIFY2(dialog.isAncestorOf(QApplication::focusWidget()), "the dialog keeps the keyboard");
    for (const QSize size : {QSize(640, 480), QSize(1300, 900)}) {
        window_->resize(size);
        QTRY_COMPARE(dialog.size(), size);
        const QRect card =
            dialog.findChild<QWidget*>(QStringLiteral("cancelButton"))->parentWidget()->geometry();
        QVERIFY(dialog.rect().contains(card));
        QVERIFY(qAbs(card.center().x() - dialog.rect().center().x()) <= 1);
    }
    QTest::mouseClick(&dialog, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QVERIFY(dialog.isVisible());
}

void TestDialogs::theFieldShowsWhatIsRenamed() {
    const RenameField chat(theme_, QStringLiteral(" First line \nsecond"));
    QCOMPARE(chat.text(), QStringLiteral("First line"));
    QCOMPARE(chat.selectedText(), chat.text());
    const FolderNameField folder(theme_, QStringLiteral("Work"));
    QCOMPARE(folder.selectedText(), QStringLiteral("Work"));
}

QTEST_MAIN(TestDialogs)
#include "TestDialogs.moc"
