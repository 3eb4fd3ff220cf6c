#include "signin/SignInView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace teskal;

class TestSignInView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void waitingCannotBePressedTwice();
    void errorIsShownUnderTheButton();

private:
    Theme theme_;
};

void TestSignInView::waitingCannotBePressedTwice() {
    SignInView view(theme_);
    view.resize(1100, 730);
    view.show();
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    auto* button = view.findChild<QAbstractButton*>(QStringLiteral("signInButton"));
    QSignalSpy requested(&view, &SignInView::signInRequested);
    view.focusButton();
    QTest::keyClick(button, Qt::Key_Return);
    QCOMPARE(requested.count(), 1);

    view.setSigningIn(true);
    QCOMPARE(button->text(), QStringLiteral("Waiting for Passhold…"));
    QTest::keyClick(button, Qt::Key_Return);
    QTest::keyClick(button, Qt::Key_Space);
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(requested.count(), 1);

    view.setSigningIn(false);
    QCOMPARE(button->text(), QStringLiteral("Sign in with Passhold"));
    QTRY_VERIFY2(button->hasFocus(), "the next try needs no mouse");
    QTest::keyClick(button, Qt::Key_Space);
    QCOMPARE(requested.count(), 2);
}

void TestSignInView::errorIsShownUnderTheButton() {
    SignInView view(theme_);
    view.resize(640, 450);
    view.show();
    const auto* const error = view.findChild<QLabel*>(QStringLiteral("signInError"));
    const auto* const button = view.findChild<QAbstractButton*>(QStringLiteral("signInButton"));
    QVERIFY(!error->isVisible());
    view.setError(QStringLiteral("Sign-in didn’t match the request. Try again."));
    QTRY_VERIFY(error->isVisible() && error->y() >= button->geometry().bottom());
    view.setError({});
    QVERIFY(!error->isVisible());
}

QTEST_MAIN(TestSignInView)
#include "TestSignInView.moc"
