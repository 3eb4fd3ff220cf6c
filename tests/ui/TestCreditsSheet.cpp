#include "MainWindow.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "controls/SegmentedPicker.h"
#include "sheets/CreditsSheet.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace teskal;

Q_DECLARE_METATYPE(CreditsState)

namespace {

using Account = CreditsState::Account;
using Activity = CreditsState::Activity;

CreditsState prepaid(Activity activity = Activity::None, const QString& error = {}) {
    CreditsState state;
    state.account = Account::Prepaid;
    state.balance = 1234;
    state.creditUsd = 0.01;
    state.activity = activity;
    state.error = error;
    return state;
}

} // namespace

/// The credits sheet in its window: what it says, and how keys go through it.
class TestCreditsSheet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void texts_data();
    void texts();
    void price_data();
    void price();
    void closing_data();
    void closing();
    void returnAddsTheChosenAmount();
    void noSecondCheckoutWhileOneOpens();
    void homelessFocusGoesToTheComposer();

private:
    CreditsSheet& sheet() const { return window_->credits(); }
    QWidget* composer() const { return &window_->detail().composer().textView(); }
    QPushButton* button(const char* name) const {
        return sheet().findChild<QPushButton*>(QLatin1String(name));
    }
    QString shown(const char* name) const {
        const auto* label = sheet().findChild<QLabel*>(QLatin1String(name));
        return label->isVisible() ? label->text() : QString();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window_->focusWidget(), key, modifiers);
    }

    Theme theme_;
    QTemporaryDir folder_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<MainWindow> window_;
};

void TestCreditsSheet::initTestCase() {
    theme_.install(*qApp);
}

void TestCreditsSheet::init() {
    window_.reset();
    settings_ = std::make_unique<QSettings>(folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    window_ = std::make_unique<MainWindow>(theme_, *settings_);
    window_->setPage(MainWindow::Page::Chats);
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    connect(&sheet(), &SheetFrame::doneRequested, &sheet(), &SheetFrame::dismiss);
    window_->detail().composer().focusText();
    sheet().setState(prepaid());
    sheet().open();
}

void TestCreditsSheet::texts_data() {
    QTest::addColumn<CreditsState>("state");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("balance");
    QTest::addColumn<QString>("status");
    const QString offline = QStringLiteral("You’re offline. Check your connection and try again.");
    const QString checking = QStringLiteral("Checking your balance…");
    CreditsState state;
    state.activity = Activity::Checking;
    QTest::newRow("waiting for the first balance") << state << checking << QString() << QString();
    state.activity = Activity::None;
    state.error = offline;
    QTest::newRow("no balance") << state << offline << QString() << QString();
    state = CreditsState();
    state.account = Account::Free;
    QTest::newRow("free")
        << state
        << QStringLiteral("Billing isn’t switched on for this deployment, so Teskal is free to use here.")
        << QString() << QString();
    const QString some = QStringLiteral("1,234");
    QTest::newRow("balance") << prepaid() << QString() << some << QString();
    QTest::newRow("asking again") << prepaid(Activity::Checking) << QString() << some << checking;
    QTest::newRow("opening") << prepaid(Activity::OpeningCheckout) << QString() << some
                             << QStringLiteral("Opening checkout…");
    QTest::newRow("opened") << prepaid(Activity::CheckoutOpened) << QString() << some
                            << QStringLiteral("Checkout opens in your browser.");
    QTest::newRow("failed") << prepaid(Activity::None, offline) << QString() << some << offline;
    state = prepaid();
    state.balance.reset();
    QTest::newRow("unknown balance") << state << QString() << QStringLiteral("–") << QString();
}

void TestCreditsSheet::texts() {
    QFETCH(const CreditsState, state);
    sheet().setState(state);
    QTEST(shown("creditsMessage"), "message");
    QTEST(shown("creditsBalance"), "balance");
    QTEST(shown("creditsStatus"), "status");
    QCOMPARE(button("addCreditsButton")->isVisible(), state.account == Account::Prepaid);
}

void TestCreditsSheet::price_data() {
    QTest::addColumn<std::optional<double>>("usd");
    QTest::addColumn<QString>("begins");
    const auto row = [](const char* name, std::optional<double> usd, const char* begins) {
        QTest::newRow(name) << usd << QString::fromLatin1(begins);
    };
    row("a cent", 0.01, "1 credit is $0.01. Most answers cost 1 to 10 credits");
    row("a dollar", 1, "1 credit is $1.00. Most");
    row("less than a cent", 0.0025, "1 credit is $0.0025. Most");
    row("unknown", std::nullopt, "Most answers cost 1 to 10 credits");
}

void TestCreditsSheet::price() {
    QFETCH(const std::optional<double>, usd);
    QFETCH(const QString, begins);
    CreditsState state = prepaid();
    state.creditUsd = usd;
    sheet().setState(state);
    QVERIFY2(shown("creditsPrice").startsWith(begins), qPrintable(shown("creditsPrice")));
    QVERIFY(shown("creditsPrice").endsWith(QStringLiteral("; a short video 155 to 1,200.")));
}

void TestCreditsSheet::closing_data() {
    QTest::addColumn<QString>("how");
    for (const char* how : {"Esc", "Esc in a control", "Done", "Return on Done"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestCreditsSheet::closing() {
    QFETCH(const QString, how);
    QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
    if (how == QLatin1String("Esc in a control"))
        press(Qt::Key_Tab);
    if (how == QLatin1String("Return on Done"))
        button("doneButton")->setFocus();
    if (how == QLatin1String("Done"))
        QTest::mouseClick(button("doneButton"), Qt::LeftButton);
    else
        press(how.startsWith(QLatin1String("Esc")) ? Qt::Key_Escape : Qt::Key_Return);
    QVERIFY(sheet().isHidden());
    QVERIFY(composer()->hasFocus());
    QVERIFY(added.isEmpty());
}

void TestCreditsSheet::returnAddsTheChosenAmount() {
    QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
    press(Qt::Key_Return);
    auto* picker = sheet().findChild<SegmentedPicker*>();
    QCOMPARE(picker->accessibleName(), QStringLiteral("Amount to add"));
    while (!picker->isAncestorOf(window_->focusWidget()))
        press(Qt::Key_Tab);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Return);
    press(Qt::Key_Tab);
    QVERIFY2(button("addCreditsButton")->hasFocus(), "the choices are one stop");
    press(Qt::Key_Space);
    QCOMPARE(added.count(), 3);
    QCOMPARE(added.at(0).at(0).toInt(), 1000);
    QCOMPARE(added.at(1).at(0).toInt(), 5000);
    QCOMPARE(added.at(2).at(0).toInt(), 5000);
}

void TestCreditsSheet::noSecondCheckoutWhileOneOpens() {
    QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
    button("addCreditsButton")->setFocus();
    sheet().setState(prepaid(Activity::OpeningCheckout));
    QVERIFY(sheet().hasFocus());
    press(Qt::Key_Return);
    QTest::mouseClick(button("addCreditsButton"), Qt::LeftButton);
    QVERIFY(added.isEmpty());
    sheet().setState(prepaid(Activity::None, QStringLiteral("Could not start checkout.")));
    press(Qt::Key_Return);
    QCOMPARE(added.count(), 1);
}

void TestCreditsSheet::homelessFocusGoesToTheComposer() {
    press(Qt::Key_Escape);
    auto* passing = new QLineEdit(window_.get());
    passing->show();
    passing->setFocus();
    sheet().open();
    delete passing;
    press(Qt::Key_Escape);
    QVERIFY(composer()->hasFocus());
}

QTEST_MAIN(TestCreditsSheet)
#include "TestCreditsSheet.moc"
