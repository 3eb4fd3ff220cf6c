#include "SheetBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "sheets/CreditsSheet.h"

namespace teskal {

namespace {

CreditsState::Account accountOf(const std::optional<Billing>& billing) {
    if (!billing)
        return CreditsState::Account::Unknown;
    return billing->enabled ? CreditsState::Account::Prepaid : CreditsState::Account::Free;
}

CreditsState::Activity activityOf(const Balance& balance) {
    using Activity = CreditsState::Activity;
    if (balance.purchase() == Balance::Purchase::Opening)
        return Activity::OpeningCheckout;
    if (balance.isRefreshing())
        return Activity::Checking;
    return balance.purchase() == Balance::Purchase::Opened ? Activity::CheckoutOpened : Activity::None;
}

CreditsState creditsState(const Balance& balance) {
    CreditsState state;
    state.account = accountOf(balance.billing());
    state.activity = activityOf(balance);
    state.error = balance.error();
    if (balance.billing()) {
        state.balance = balance.billing()->balance;
        state.creditUsd = balance.billing()->creditUsd;
        if (state.error.isEmpty() && state.activity == CreditsState::Activity::None)
            state.error = balance.billing()->error.value_or(QString());
    }
    return state;
}

} // namespace

SheetBinding::SheetBinding(AppModel& model, MainWindow& window) : model_(model), window_(window) {
    connect(&model, &AppModel::sheetChanged, this, &SheetBinding::showSheet);
    connect(&model.balance(), &Balance::changed, this, &SheetBinding::showCredits);
}

void SheetBinding::showSheet() {
    const bool wanted = model_.sheet() == Sheet::Credits && model_.auth().isSignedIn();
    if (wanted)
        openCredits();
    else if (credits_)
        credits_->dismiss();
}

void SheetBinding::openCredits() {
    if (!credits_) {
        credits_ = &window_.credits();
        connect(credits_, &SheetFrame::doneRequested, this, [this] { model_.setSheet(std::nullopt); });
        connect(credits_, &CreditsSheet::addRequested, &model_, &AppModel::buyCredits);
    }
    model_.refreshBalance(true);
    showCredits();
    credits_->open();
}

void SheetBinding::showCredits() {
    if (credits_)
        credits_->setState(creditsState(model_.balance()));
}

} // namespace teskal
