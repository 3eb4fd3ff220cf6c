#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "controls/ToastView.h"
#include "sidebar/SidebarView.h"
#include "signin/SignInView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QSettings>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;

class TestMainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void sizesAtFirstStart();
    void sidebarFoldsAndComesBack();
    void everyPageHasItsFocus();
    void loadingIsPlain();
    void layoutIsRemembered();
    void toastFloatsAboveTheComposer();
    void toastReplacesAndGoes();

private:
    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(QStringLiteral("window.ini")), QSettings::IniFormat};
};

void TestMainWindow::initTestCase() {
    theme_.install(*qApp);
}

void TestMainWindow::sizesAtFirstStart() {
    MainWindow window(theme_, settings_);
    window.setPage(MainWindow::Page::Chats);
    window.show();
    QCOMPARE(window.size(), QSize(1100, 760));
    QCOMPARE(window.sidebar().width(), 268);
    QCOMPARE(window.minimumSize(), QSize(640, 480));
}

void TestMainWindow::sidebarFoldsAndComesBack() {
    MainWindow window(theme_, settings_);
    window.setPage(MainWindow::Page::Chats);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.commands().setState({.signedIn = true});
    auto* button = window.findChild<QAbstractButton*>(QStringLiteral("sidebarButton"));
    window.findChild<QSplitter*>()->setSizes({320, 779});
    QTRY_COMPARE(window.sidebar().width(), 320);

    window.sidebar().focusSearch();
    window.resize(640, 480);
    QTRY_VERIFY(!window.sidebar().isVisible());
    QTRY_COMPARE(window.detail().width(), 640);
    QTRY_VERIFY2(window.detail().composer().textView().hasFocus(), "nothing hidden has the keyboard");
    QCOMPARE(button->accessibleName(), QStringLiteral("Show sidebar"));

    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY2(window.sidebar().isVisible(), "at hand all the same");
    QTRY_VERIFY(window.sidebar().width() >= 200 && window.detail().width() >= 360);
    QTest::keyClick(&window.detail().composer().textView(), Qt::Key_F9);
    QVERIFY(!window.sidebar().isVisible());
    window.openSearch();
    QVERIFY2(window.sidebar().isVisible(), "searching needs it");

    window.resize(1100, 760);
    QTRY_VERIFY(window.sidebar().isVisible());
    QTRY_VERIFY(window.sidebar().width() >= 200);
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(!window.sidebar().isVisible());
    window.resize(640, 480);
    window.resize(1100, 760);
    QTRY_COMPARE(window.width(), 1100);
    QVERIFY2(!window.sidebar().isVisible(), "what the user hid stays hidden");
    window.close();
    MainWindow next(theme_, settings_);
    next.setPage(MainWindow::Page::Chats);
    next.show();
    QVERIFY(!next.sidebar().isVisible());
    next.openSearch();
    QTRY_VERIFY(next.sidebar().width() >= 200);
    settings_.clear();
}

void TestMainWindow::everyPageHasItsFocus() {
    MainWindow window(theme_, settings_);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.setPage(MainWindow::Page::SignIn);
    QTRY_VERIFY(window.signIn().findChild<QAbstractButton*>(QStringLiteral("signInButton"))->hasFocus());
    window.setPage(MainWindow::Page::Chats);
    QTRY_VERIFY(window.detail().composer().textView().hasFocus());
}

void TestMainWindow::loadingIsPlain() {
    MainWindow window(theme_, settings_);
    window.show();
    QCOMPARE(window.page(), MainWindow::Page::Loading);
    const QImage image = window.centralWidget()->grab().toImage();
    for (int y = 0; y < image.height(); y += 7) {
        for (int x = 0; x < image.width(); x += 7)
            QCOMPARE(image.pixelColor(x, y), theme_.ink().page);
    }
}

void TestMainWindow::layoutIsRemembered() {
    {
        MainWindow window(theme_, settings_);
        window.setPage(MainWindow::Page::Chats);
        window.show();
        window.resize(900, 600);
        auto* split = window.findChild<QSplitter*>();
        split->setSizes({320, 579});
        QTRY_COMPARE(window.sidebar().width(), 320);
        window.close();
    }
    MainWindow window(theme_, settings_);
    window.setPage(MainWindow::Page::Chats);
    window.show();
    QCOMPARE(window.size(), QSize(900, 600));
    QCOMPARE(window.sidebar().width(), 320);
    settings_.clear();
}

void TestMainWindow::toastFloatsAboveTheComposer() {
    MainWindow window(theme_, settings_);
    window.setPage(MainWindow::Page::Chats);
    window.detail().setEmpty(false);
    window.show();
    window.toast().setText(QStringLiteral("Copied"));
    QVERIFY(window.toast().isVisible());
    const auto clear = [&] {
        const QRect composer(window.detail().composer().mapTo(&window, QPoint(0, 0)),
                             window.detail().composer().size());
        const QRect toast(window.toast().mapTo(&window, QPoint(0, 0)), window.toast().size());
        return !toast.intersects(composer) && toast.bottom() < composer.top();
    };
    QTRY_VERIFY(clear());
    window.detail().composer().setText(QStringLiteral("line\n").repeated(8));
    QTRY_VERIFY2(clear(), "it moves up when the composer grows");
    window.resize(640, 480);
    QTRY_VERIFY(clear());
}

void TestMainWindow::toastReplacesAndGoes() {
    MainWindow window(theme_, settings_);
    window.setPage(MainWindow::Page::SignIn);
    window.show();
    ToastView& toast = window.toast();
    toast.setText(QStringLiteral("One"));
    toast.setText(QStringLiteral("Two"));
    QCOMPARE(toast.accessibleName(), QStringLiteral("Two"));
    toast.setText({});
    toast.setText(QStringLiteral("Three"));
    QTRY_VERIFY(toast.isVisible());
    toast.setText({});
    QTRY_VERIFY(!toast.isVisible());
}

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
