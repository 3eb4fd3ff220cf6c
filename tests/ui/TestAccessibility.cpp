#include "MainWindow.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "composer/ComposerFile.h"
#include "composer/ComposerView.h"
#include "controls/ToastView.h"
#include "dialogs/ConfirmDialog.h"
#include "dialogs/NameDialog.h"
#include "dialogs/RenameField.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;

/// What is on the screen.
enum class Shown { SignIn, Chats, Files, Recording, Finding, Question, Name };
Q_DECLARE_METATYPE(Shown)

class TestAccessibility : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyControlHasNameAndRole_data();
    void everyControlHasNameAndRole();
    void toastIsAnAlert();

private:
    void show(MainWindow& window, Shown shown);

    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat};
};

void TestAccessibility::initTestCase() {
    theme_.install(*qApp);
    QAccessible::setActive(true);
}

void TestAccessibility::everyControlHasNameAndRole_data() {
    QTest::addColumn<Shown>("shown");
    QTest::addColumn<int>("atLeast");
    QTest::newRow("sign-in") << Shown::SignIn << 1;
    QTest::newRow("chats") << Shown::Chats << 11;
    QTest::newRow("private chat with files") << Shown::Files << 13;
    QTest::newRow("recording") << Shown::Recording << 9;
    QTest::newRow("finding") << Shown::Finding << 14;
    QTest::newRow("question") << Shown::Question << 13;
    QTest::newRow("name") << Shown::Name << 14;
}

void TestAccessibility::show(MainWindow& window, Shown shown) {
    window.sidebar().footer().setName(QStringLiteral("Ada"));
    window.detail().setBusy(true);
    window.detail().setPrivate(shown == Shown::Files);
    window.setPage(shown == Shown::SignIn ? MainWindow::Page::SignIn : MainWindow::Page::Chats);
    window.detail().setEmpty(shown != Shown::Finding);
    ComposerView& composer = window.detail().composer();
    if (shown == Shown::Files)
        composer.setFiles({{1, QStringLiteral("a.pdf"), QStringLiteral("application/pdf"), false, {}},
                           {2, QStringLiteral("b.png"), QStringLiteral("image/png"), true, {}}});
    if (shown == Shown::Recording)
        composer.setVoicePhase(VoicePhase::Recording);
    window.show();
    if (shown == Shown::Finding)
        window.detail().findBar().open();
    if (shown == Shown::Question)
        (new ConfirmDialog(theme_, QStringLiteral("Delete?"), QStringLiteral("It goes."), window))->open();
    if (shown == Shown::Name)
        (new NameDialog(theme_, QStringLiteral("Rename"), new RenameField(theme_, QStringLiteral("A")),
                        QStringLiteral("Rename"), window))
            ->open();
}

void TestAccessibility::everyControlHasNameAndRole() {
    QFETCH(const Shown, shown);
    QFETCH(const int, atLeast);
    MainWindow window(theme_, settings_);
    show(window, shown);
    int controls = 0;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus)
            continue;
        const QAccessibleInterface* control = QAccessible::queryAccessibleInterface(widget);
        const QString where =
            QLatin1String(widget->metaObject()->className()) + QLatin1Char(' ') + widget->objectName();
        QVERIFY2(control != nullptr, qPrintable(where));
        QVERIFY2(!control->text(QAccessible::Name).isEmpty(), qPrintable(where));
        const QAccessible::Role role = control->role();
        QVERIFY2(role == QAccessible::Button || role == QAccessible::ButtonMenu ||
                     role == QAccessible::Tree || role == QAccessible::ListItem ||
                     role == QAccessible::EditableText || role == QAccessible::Dialog,
                 qPrintable(where + QString::number(role)));
        ++controls;
    }
    QVERIFY2(controls >= atLeast, qPrintable(QString::number(controls)));
}

void TestAccessibility::toastIsAnAlert() {
    MainWindow window(theme_, settings_);
    window.show();
    window.toast().setText(QStringLiteral("Copied"));
    const QAccessibleInterface* toast = QAccessible::queryAccessibleInterface(&window.toast());
    QCOMPARE(toast->role(), QAccessible::AlertMessage);
    QCOMPARE(toast->text(QAccessible::Name), QStringLiteral("Copied"));
}

QTEST_MAIN(TestAccessibility)
#include "TestAccessibility.moc"
