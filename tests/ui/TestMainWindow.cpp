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
#include <QMenuBar>
#include <QSettings>
#include <QSignalSpy>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;

class TestMainWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { theme_.install(*qApp); }

    void sidebarFoldsAndComesBack() {
        MainWindow window(theme_, settings_);
        window.setPage(MainWindow::Page::Chats);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.commands().setState({.signedIn = true});
        auto* button = window.findChild<QAbstractButton*>(u"sidebarButton"_qs);
        window.findChild<QSplitter*>()->setSizes({320, 779});
        QTRY_COMPARE(window.sidebar().width(), 320);

        window.sidebar().focusSearch();
        window.resize(640, 480);
        QTRY_VERIFY(!window.sidebar().isVisible());
        QTRY_COMPARE(window.detail().width(), 640);
        QTRY_VERIFY2(window.detail().composer().textView().hasFocus(), "nothing hidden has the keyboard");
        QCOMPARE(button->accessibleName(), u"Show sidebar"_qs);

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

    void everyPageHasItsFocus() {
        MainWindow window(theme_, settings_);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setPage(MainWindow::Page::SignIn);
        QTRY_VERIFY(window.signIn().findChild<QAbstractButton*>(u"signInButton"_qs)->hasFocus());
        window.setPage(MainWindow::Page::Chats);
        QTRY_VERIFY(window.detail().composer().textView().hasFocus());
    }

    void loadingIsPlain() {
        MainWindow window(theme_, settings_);
        window.show();
        QCOMPARE(window.page(), MainWindow::Page::Loading);
        const QImage image = window.centralWidget()->grab().toImage();
        for (int y = 0; y < image.height(); y += 7) {
            for (int x = 0; x < image.width(); x += 7)
                QCOMPARE(image.pixelColor(x, y), theme_.ink().page);
        }
    }

    void keysMoveTheSidebarsEdge() {
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            MainWindow window(theme_, settings_);
            window.setLayoutDirection(direction);
            window.commands().setState({.signedIn = true});
            window.setPage(MainWindow::Page::Chats);
            window.show();
            window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&window));
            auto* split = window.findChild<QSplitter*>();
            split->setSizes({300, 799});
            QWidget* const edge = split->handle(1);
            edge->setFocus(Qt::TabFocusReason);
            QTRY_VERIFY(edge->hasFocus());
            QTRY_COMPARE(edge->contentsRect().width(), split->handleWidth());
            const int before = window.sidebar().width();
            const bool mirrored = direction == Qt::RightToLeft;
            QTest::keyClick(edge, mirrored ? Qt::Key_Left : Qt::Key_Right);
            QVERIFY(window.sidebar().width() > before && window.sidebar().width() < before + 30);
            QTest::keyClick(edge, mirrored ? Qt::Key_Right : Qt::Key_Left);
            QCOMPARE(window.sidebar().width(), before);
            QTest::keyClick(edge, mirrored ? Qt::Key_End : Qt::Key_Home);
            QCOMPARE(window.sidebar().width(), window.sidebar().minimumWidth());
            QTest::keyClick(edge, Qt::Key_F9);
            QTRY_VERIFY2(window.detail().composer().textView().hasFocus(), "the edge went with the sidebar");
        }
    }

    void aloneTheTranscriptHasTheScreen() {
        MainWindow window(theme_, settings_);
        auto* transcript = new QWidget;
        transcript->setFocusPolicy(Qt::StrongFocus);
        window.setTranscript(transcript, [](EditAction) {});
        window.setPage(MainWindow::Page::Chats);
        window.detail().setEmpty(false);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        transcript->setFocus();
        const QSize size = window.size();
        const QRect place = transcript->geometry();
        QSignalSpy left(&window, &MainWindow::transcriptAloneLeft);
        const auto leave = [&] { QTest::keyClick(transcript, Qt::Key_Escape); };

        leave();
        window.setTranscriptAlone(true);
        QTRY_VERIFY(window.isFullScreen());
        QTRY_COMPARE(transcript->size(), window.size());
        QVERIFY(!window.menuBar()->isVisible() && !window.detail().composer().isVisible());
        leave();
        QCOMPARE(left.count(), 1);
        QTRY_COMPARE(window.size(), size);
        QTRY_COMPARE(transcript->geometry(), place);
        QVERIFY(window.menuBar()->isVisible() && window.sidebar().isVisible());
        QVERIFY(!window.isFullScreen() && window.detail().composer().isVisible());

        window.showFullScreen();
        window.setTranscriptAlone(true);
        window.setTranscriptAlone(false);
        QVERIFY2(window.isFullScreen(), "as the user had it");
        window.showNormal();

        window.setTranscriptAlone(true);
        window.showNormal();
        QCOMPARE(left.count(), 2);
        QTRY_VERIFY2(window.menuBar()->isVisible(), "the desktop's own way out");
        window.setTranscriptAlone(true);
        window.close();
        MainWindow next(theme_, settings_);
        QVERIFY2(!next.isFullScreen(), "that was the video's wish");
        settings_.clear();
    }

    void layoutIsRemembered() {
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

    void toastFloatsAboveTheComposer() {
        MainWindow window(theme_, settings_);
        window.setPage(MainWindow::Page::Chats);
        window.detail().setEmpty(false);
        window.show();
        window.toast().setText(u"Copied"_qs);
        QVERIFY(window.toast().isVisible());
        const auto clear = [&] {
            const QRect composer(window.detail().composer().mapTo(&window, QPoint(0, 0)),
                                 window.detail().composer().size());
            const QRect toast(window.toast().mapTo(&window, QPoint(0, 0)), window.toast().size());
            return !toast.intersects(composer) && toast.bottom() < composer.top();
        };
        QTRY_VERIFY(clear());
        window.detail().composer().setText(u"line\n"_qs.repeated(8));
        QTRY_VERIFY2(clear(), "it moves up when the composer grows");
        window.resize(640, 480);
        QTRY_VERIFY(clear());
        window.toast().setText({});
        QTRY_VERIFY(!window.toast().isVisible());
    }

    void signInCannotBePressedTwice() {
        SignInView view(theme_);
        view.resize(1100, 730);
        view.show();
        view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        auto* button = view.findChild<QAbstractButton*>(u"signInButton"_qs);
        QSignalSpy requested(&view, &SignInView::signInRequested);
        view.focusButton();
        QTest::keyClick(button, Qt::Key_Return);
        QCOMPARE(requested.count(), 1);

        view.setSigningIn(true);
        QCOMPARE(button->text(), u"Waiting for Passhold…"_qs);
        QTest::keyClick(button, Qt::Key_Return);
        QTest::keyClick(button, Qt::Key_Space);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(requested.count(), 1);

        view.setSigningIn(false);
        QCOMPARE(button->text(), u"Sign in with Passhold"_qs);
        QTRY_VERIFY2(button->hasFocus(), "the next try needs no mouse");
        QTest::keyClick(button, Qt::Key_Space);
        QCOMPARE(requested.count(), 2);
    }

private:
    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(u"window.ini"_qs), QSettings::IniFormat};
};

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
