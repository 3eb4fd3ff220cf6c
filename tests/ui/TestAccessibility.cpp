#include "MainWindow.h"
#include "chat/DetailView.h"
#include "controls/ToastView.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;

class TestAccessibility : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyControlHasNameAndRole_data();
    void everyControlHasNameAndRole();
    void toastIsAnAlert();

private:
    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat};
};

void TestAccessibility::initTestCase() {
    theme_.install(*qApp);
    QAccessible::setActive(true);
}

void TestAccessibility::everyControlHasNameAndRole_data() {
    QTest::addColumn<MainWindow::Page>("page");
    QTest::addColumn<int>("atLeast");
    QTest::newRow("sign-in") << MainWindow::Page::SignIn << 1;
    QTest::newRow("chats") << MainWindow::Page::Chats << 7;
}

void TestAccessibility::everyControlHasNameAndRole() {
    QFETCH(const MainWindow::Page, page);
    QFETCH(const int, atLeast);
    MainWindow window(theme_, settings_);
    window.sidebar().footer().setName(QStringLiteral("Ada"));
    window.detail().setBusy(true);
    window.setPage(page);
    window.show();
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
                     role == QAccessible::Tree || role == QAccessible::EditableText,
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
