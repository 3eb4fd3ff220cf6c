#include "WindowTest.h"
#include "controls/SegmentedPicker.h"
#include "sheets/CreditsSheet.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace teskal::test;

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
class TestCreditsSheet final : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        WindowTest::init();
        connect(&sheet(), &SheetFrame::doneRequested, &sheet(), &SheetFrame::dismiss);
        composer().focusText();
        sheet().setState(prepaid());
        sheet().open();
    }

    void texts_data() {
        const auto row =
            columns<CreditsState, QString, QString, QString>("state", "message", "balance", "status");
        const QString offline = u"You’re offline. Check your connection and try again."_qs;
        const QString checking = u"Checking your balance…"_qs;
        CreditsState state;
        state.activity = Activity::Checking;
        row("waiting for the first balance", state, checking, QString(), QString());
        state.activity = Activity::None;
        state.error = offline;
        row("no balance", state, offline, QString(), QString());
        state = CreditsState();
        state.account = Account::Free;
        row("free", state, "Billing isn’t switched on for this deployment, so Teskal is free to use here.",
            QString(), QString());
        const QString some = u"1,234"_qs;
        row("balance", prepaid(), QString(), some, QString());
        row("asking again", prepaid(Activity::Checking), QString(), some, checking);
        row("opening", prepaid(Activity::OpeningCheckout), QString(), some, "Opening checkout…");
        row("opened", prepaid(Activity::CheckoutOpened), QString(), some, "Checkout opens in your browser.");
        row("failed", prepaid(Activity::None, offline), QString(), some, offline);
        state = prepaid();
        state.balance.reset();
        row("unknown balance", state, QString(), "–", QString());
    }

    void texts() {
        QFETCH(const CreditsState, state);
        sheet().setState(state);
        QTEST(shown("creditsMessage"), "message");
        QTEST(shown("creditsBalance"), "balance");
        QTEST(shown("creditsStatus"), "status");
        QCOMPARE(button("addCreditsButton")->isVisible(), state.account == Account::Prepaid);
    }

    void price_data() {
        const auto row = columns<std::optional<double>, QString>("usd", "begins");
        row("a cent", 0.01, "1 credit is $0.01. Most answers cost 1 to 10 credits");
        row("a dollar", 1, "1 credit is $1.00. Most");
        row("less than a cent", 0.0025, "1 credit is $0.0025. Most");
        row("unknown", std::nullopt, "Most answers cost 1 to 10 credits");
    }

    void price() {
        FETCH(std::optional<double>, usd, QString, begins);
        CreditsState state = prepaid();
        state.creditUsd = usd;
        sheet().setState(state);
        QVERIFY2(shown("creditsPrice").startsWith(begins), qPrintable(shown("creditsPrice")));
        QVERIFY(shown("creditsPrice").endsWith(u"; a short video 155 to 1,200."_qs));
    }

    void closing_data() { rowsOf("how", {"Esc", "Esc in a control", "Done", "Return on Done"}); }

    void closing() {
        QFETCH(const QString, how);
        QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
        if (how == u"Esc in a control")
            press(Qt::Key_Tab);
        if (how == u"Return on Done")
            button("doneButton")->setFocus();
        if (how == u"Done")
            QTest::mouseClick(button("doneButton"), Qt::LeftButton);
        else
            press(how.startsWith(u"Esc") ? Qt::Key_Escape : Qt::Key_Return);
        QVERIFY(sheet().isHidden() && text().hasFocus() && added.isEmpty());
    }

    void returnAddsTheChosenAmount() {
        QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
        press(Qt::Key_Return);
        auto* picker = sheet().findChild<SegmentedPicker*>();
        QCOMPARE(picker->accessibleName(), u"Amount to add"_qs);
        while (!picker->isAncestorOf(window_->focusWidget()))
            press(Qt::Key_Tab);
        for (int choice = 0; choice < 2; ++choice) {
            press(Qt::Key_Right);
            press(Qt::Key_Return);
        }
        press(Qt::Key_Tab);
        QVERIFY2(button("addCreditsButton")->hasFocus(), "the choices are one stop");
        press(Qt::Key_Space);
        QCOMPARE(added, (QList<QVariantList>{{1000}, {2500}, {5000}, {5000}}));
    }

    void noSecondCheckoutWhileOneOpens() {
        QSignalSpy added(&sheet(), &CreditsSheet::addRequested);
        button("addCreditsButton")->setFocus();
        sheet().setState(prepaid(Activity::OpeningCheckout));
        QVERIFY(sheet().hasFocus());
        press(Qt::Key_Return);
        QTest::mouseClick(button("addCreditsButton"), Qt::LeftButton);
        QVERIFY(added.isEmpty());
        sheet().setState(prepaid(Activity::None, u"Could not start checkout."_qs));
        press(Qt::Key_Return);
        QCOMPARE(added.count(), 1);
    }

private:
    CreditsSheet& sheet() const { return window_->credits(); }
    QPushButton* button(const char* name) const {
        return sheet().findChild<QPushButton*>(QLatin1String(name));
    }
    QString shown(const char* name) const {
        const auto* label = sheet().findChild<QLabel*>(QLatin1String(name));
        return label->isVisible() ? label->text() : QString();
    }
};

QTEST_MAIN(TestCreditsSheet)
#include "TestCreditsSheet.moc"
