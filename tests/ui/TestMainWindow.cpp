#include "WindowTest.h"
#include "controls/ToastView.h"
#include "sidebar/SidebarView.h"
#include "signin/SignInView.h"

#include <QAbstractButton>
#include <QMenuBar>
#include <QSplitter>

using namespace teskal::test;

class TestMainWindow final : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void sidebarFoldsAndComesBack() {
        SidebarView& sidebar = window_->sidebar();
        window_->commands().setState({.signedIn = true});
        auto* button = window_->findChild<QAbstractButton*>(u"sidebarButton"_qs);
        window_->findChild<QSplitter*>()->setSizes({320, 779});
        QTRY_COMPARE(sidebar.width(), 320);

        sidebar.focusSearch();
        window_->resize(640, 480);
        QTRY_VERIFY(!sidebar.isVisible());
        QTRY_COMPARE(window_->detail().width(), 640);
        QTRY_VERIFY2(text().hasFocus(), "nothing hidden has the keyboard");
        QCOMPARE(button->accessibleName(), u"Show sidebar"_qs);

        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY2(sidebar.isVisible(), "at hand all the same");
        QTRY_VERIFY(sidebar.width() >= 200 && window_->detail().width() >= 360);
        QTest::keyClick(&text(), Qt::Key_F9);
        QVERIFY(!sidebar.isVisible());
        window_->openSearch();
        QVERIFY2(sidebar.isVisible(), "searching needs it");

        window_->resize(1100, 760);
        QTRY_VERIFY(sidebar.isVisible() && sidebar.width() >= 200);
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(!sidebar.isVisible());
        window_->resize(640, 480);
        QTRY_COMPARE(window_->width(), 640);
        QVERIFY2(!sidebar.isVisible(), "what was shown over a narrow window is not shown there again");
        window_->resize(1100, 760);
        QTRY_COMPARE(window_->width(), 1100);
        QVERIFY2(!sidebar.isVisible(), "what the user hid stays hidden");
        startAgain();
        QVERIFY(!window_->sidebar().isVisible());
        window_->openSearch();
        QTRY_VERIFY(window_->sidebar().width() >= 200);
    }

    void everyPageHasItsFocus() {
        window_->setPage(MainWindow::Page::SignIn);
        QTRY_VERIFY(window_->signIn().findChild<QAbstractButton*>(u"signInButton"_qs)->hasFocus());
        window_->setPage(MainWindow::Page::Chats);
        QTRY_VERIFY(text().hasFocus());
    }

    void loadingIsPlain() {
        MainWindow window(theme_, settings_);
        window.show();
        QCOMPARE(window.page(), MainWindow::Page::Loading);
        const QImage image = window.centralWidget()->grab().toImage();
        for (int y = 0; y < image.height(); y += 7)
            for (int x = 0; x < image.width(); x += 7)
                QCOMPARE(image.pixelColor(x, y), theme_.ink().page);
    }

    void keysMoveTheSidebarsEdge_data() { rows<bool>("mirrored", {{"left", false}, {"right", true}}); }

    void keysMoveTheSidebarsEdge() {
        QFETCH(const bool, mirrored);
        window_->setLayoutDirection(mirrored ? Qt::RightToLeft : Qt::LeftToRight);
        window_->commands().setState({.signedIn = true});
        const SidebarView& sidebar = window_->sidebar();
        auto* split = window_->findChild<QSplitter*>();
        split->setSizes({300, 799});
        QWidget* const edge = split->handle(1);
        edge->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(edge->hasFocus());
        QTRY_COMPARE(edge->contentsRect().width(), split->handleWidth());
        const int before = sidebar.width();
        QTest::keyClick(edge, mirrored ? Qt::Key_Left : Qt::Key_Right);
        QVERIFY(sidebar.width() > before && sidebar.width() < before + 30);
        QTest::keyClick(edge, mirrored ? Qt::Key_Right : Qt::Key_Left);
        QCOMPARE(sidebar.width(), before);
        QTest::keyClick(edge, mirrored ? Qt::Key_End : Qt::Key_Home);
        QCOMPARE(sidebar.width(), sidebar.minimumWidth());
        QTest::keyClick(edge, Qt::Key_F9);
        QTRY_VERIFY2(text().hasFocus(), "the edge went with the sidebar");
    }

    void aloneTheTranscriptHasTheScreen() {
        window_->detail().setEmpty(false);
        page_->setFocus();
        const QWidget* const transcript = page_->parentWidget();
        const QSize size = window_->size();
        const QRect place = transcript->geometry();
        QSignalSpy left(window_.get(), &MainWindow::transcriptAloneLeft);
        const auto leave = [&] { QTest::keyClick(page_, Qt::Key_Escape); };

        leave();
        window_->setTranscriptAlone(true);
        QTRY_VERIFY(window_->isFullScreen());
        QTRY_COMPARE(transcript->size(), window_->size());
        QVERIFY(!window_->menuBar()->isVisible() && !composer().isVisible());
        leave();
        QCOMPARE(left.count(), 1);
        QTRY_COMPARE(window_->size(), size);
        QTRY_COMPARE(transcript->geometry(), place);
        QVERIFY(window_->menuBar()->isVisible() && window_->sidebar().isVisible());
        QVERIFY(!window_->isFullScreen() && composer().isVisible());

        window_->showFullScreen();
        window_->setTranscriptAlone(true);
        window_->setTranscriptAlone(false);
        QVERIFY2(window_->isFullScreen(), "as the user had it");
        window_->showNormal();

        window_->setTranscriptAlone(true);
        window_->showNormal();
        QCOMPARE(left.count(), 2);
        QTRY_VERIFY2(window_->menuBar()->isVisible(), "the desktop's own way out");
        window_->setTranscriptAlone(true);
        startAgain();
        QVERIFY2(!window_->isFullScreen(), "that was the video's wish");
    }

    void layoutIsRemembered() {
        window_->resize(900, 600);
        window_->findChild<QSplitter*>()->setSizes({320, 579});
        QTRY_COMPARE(window_->sidebar().width(), 320);
        startAgain();
        QCOMPARE(window_->size(), QSize(900, 600));
        QCOMPARE(window_->sidebar().width(), 320);
    }

    void toastFloatsAboveTheComposer() {
        window_->detail().setEmpty(false);
        ToastView& toast = window_->toast();
        toast.setText(u"Copied"_qs);
        QVERIFY(toast.isVisible());
        const auto isClear = [&] {
            const auto place = [&](const QWidget& part) {
                return QRect(part.mapTo(window_.get(), QPoint(0, 0)), part.size());
            };
            return place(toast).bottom() < place(composer()).top();
        };
        QTRY_VERIFY(isClear());
        composer().setText(u"line\n"_qs.repeated(8));
        QTRY_VERIFY2(isClear(), "it moves up when the composer grows");
        window_->resize(640, 480);
        QTRY_VERIFY(isClear());
        toast.setText({});
        QTRY_VERIFY(!toast.isVisible());
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
    /// With a new window and what the last one left in the settings.
    void startAgain() {
        window_->close();
        WindowTest::init();
    }
};

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
