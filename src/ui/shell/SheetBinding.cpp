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

SheetBinding::SheetBinding(AppModel& model, MainWindow& window)
    : model_(model), window_(window), keys_(model, window), routes_(model, window) {
    connect(&model, &AppModel::sheetChanged, this, &SheetBinding::showSheet);
    connect(&model.balance(), &Balance::changed, this, &SheetBinding::showCredits);
}

void SheetBinding::showSheet() {
    SheetFrame* wanted = nullptr;
    if (model_.sheet() && model_.auth().isSignedIn())
        wanted = &prepare(*model_.sheet());
    if (open_ && open_ != wanted)
        open_->dismiss();
    open_ = wanted;
    if (!wanted)
        return;
    connect(wanted, &SheetFrame::doneRequested, this, &SheetBinding::close, Qt::UniqueConnection);
    connect(wanted, &SheetFrame::focusHomeless, &window_, &MainWindow::focusPage, Qt::UniqueConnection);
    wanted->open();
}

SheetFrame& SheetBinding::prepare(Sheet sheet) {
    switch (sheet) {
    case Sheet::Keys:
        return keys_.prepare();
    case Sheet::Routes:
        return routes_.prepare();
    case Sheet::Credits:
        break;
    }
    return prepareCredits();
}

SheetFrame& SheetBinding::prepareCredits() {
    if (!credits_) {
        credits_ = &window_.credits();
        connect(credits_, &CreditsSheet::addRequested, &model_, &AppModel::buyCredits);
    }
    model_.refreshBalance(true);
    showCredits();
    return *credits_;
}

void SheetBinding::close() {
    model_.setSheet(std::nullopt);
}

void SheetBinding::showCredits() {
    if (credits_)
        credits_->setState(creditsState(model_.balance()));
}

} // namespace teskal
