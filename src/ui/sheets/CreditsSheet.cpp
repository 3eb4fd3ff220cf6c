#include "CreditsSheet.h"

#include "controls/AlertLabel.h"
#include "controls/CardView.h"
#include "controls/InkLabel.h"
#include "controls/SegmentedPicker.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include <array>

namespace teskal {

namespace {

constexpr std::array amounts{500, 1000, 2500, 5000};
constexpr int usualAmount = 1;

/// The interface speaks English, numbers included.
QString grouped(qint64 number) {
    return QLocale(QLocale::English).toString(number);
}

/// Cents at least, and as many more digits as the price has.
QString priceText(double usd) {
    QString price = QString::number(usd, 'f', 6);
    const qsizetype least = price.indexOf(QLatin1Char('.')) + 3;
    while (price.size() > least && price.endsWith(QLatin1Char('0')))
        price.chop(1);
    return price;
}

QString costText(const std::optional<double>& creditUsd) {
    const QString costs = CreditsSheet::tr("Most answers cost 1 to 10 credits and hard ones up to a few "
                                           "hundred; an image 14 to 51; a short video 155 to 1,200.");
    return creditUsd ? CreditsSheet::tr("1 credit is $%1. %2").arg(priceText(*creditUsd), costs) : costs;
}

QString statusText(CreditsState::Activity activity) {
    using Activity = CreditsState::Activity;
    switch (activity) {
    case Activity::Checking:
        return CreditsSheet::tr("Checking your balance…");
    case Activity::OpeningCheckout:
        return CreditsSheet::tr("Opening checkout…");
    case Activity::CheckoutOpened:
        return CreditsSheet::tr("Checkout opens in your browser.");
    case Activity::None:
        break;
    }
    return {};
}

InkLabel* wrapped(InkLabel* label) {
    label->setWordWrap(true);
    return label;
}

} // namespace

CreditsSheet::CreditsSheet(const Theme& theme, QWidget& window)
    : SheetFrame(theme, tr("Credits"), window), message_(new AlertLabel(theme, TextRole::Body, &card())) {
    setObjectName(QStringLiteral("creditsSheet"));
    message_->setObjectName(QStringLiteral("creditsMessage"));
    message_->setAlignment(Qt::AlignLeading | Qt::AlignTop);
    prepaid_ = makePrepaid();
    content().addWidget(message_);
    content().addWidget(prepaid_);
    setDefaultButton(add_);
    connect(add_, &QAbstractButton::clicked, this,
            [this] { Q_EMIT addRequested(amounts.at(static_cast<std::size_t>(amount_->current()))); });
    setState({});
}

QWidget* CreditsSheet::makePrepaid() {
    auto* prepaid = new QWidget(&card());
    balance_ = new InkLabel(theme(), TextRole::Display, &Ink::fg, prepaid);
    balance_->setObjectName(QStringLiteral("creditsBalance"));
    auto* terms = wrapped(new InkLabel(theme(), TextRole::Body, &Ink::muted, prepaid));
    terms->setText(tr("credits. Prepaid, pay as you go: no plan, nothing monthly, credits never expire."));
    price_ = wrapped(new InkLabel(theme(), TextRole::Quiet, &Ink::muted, prepaid));
    price_->setObjectName(QStringLiteral("creditsPrice"));

    auto* column = new QVBoxLayout(prepaid);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(balance_);
    column->addSpacing(6);
    column->addWidget(terms);
    column->addSpacing(16);
    column->addWidget(makeAmountRow(prepaid));
    column->addSpacing(12);
    column->addWidget(price_);
    column->addSpacing(20);
    column->addLayout(makeFoot(prepaid));
    return prepaid;
}

QWidget* CreditsSheet::makeAmountRow(QWidget* parent) {
    auto* row = new QWidget;
    auto* label = new InkLabel(theme(), TextRole::Body, &Ink::fg, row);
    label->setText(tr("Amount to add"));
    QStringList choices;
    for (const int amount : amounts)
        choices.append(grouped(amount));
    amount_ = new SegmentedPicker(theme(), choices, row);
    amount_->setAccessibleName(label->text());
    amount_->setCurrent(usualAmount);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(14, 11, 14, 11);
    layout->addWidget(label, 1);
    layout->addWidget(amount_);
    auto* card = new CardView(theme(), parent);
    card->addRow(row);
    return card;
}

QLayout* CreditsSheet::makeFoot(QWidget* parent) {
    status_ = new AlertLabel(theme(), TextRole::Quiet, parent);
    status_->setObjectName(QStringLiteral("creditsStatus"));
    add_ = makeButton(tr("Add Credits"));
    add_->setObjectName(QStringLiteral("addCreditsButton"));
    add_->setDefault(true);
    auto* foot = new QHBoxLayout;
    foot->setSpacing(metrics::margin);
    foot->addWidget(status_, 1);
    foot->addWidget(add_);
    return foot;
}

void CreditsSheet::setState(const CreditsState& state) {
    showAccount(state);
    showStatus(state);
    setAdding(state.activity == CreditsState::Activity::OpeningCheckout);
}

void CreditsSheet::showAccount(const CreditsState& state) {
    using Account = CreditsState::Account;
    balance_->setText(state.balance ? grouped(*state.balance) : QStringLiteral("–"));
    balance_->setAccessibleName(state.balance ? QString() : tr("Balance unavailable"));
    price_->setText(costText(state.creditUsd));
    prepaid_->setVisible(state.account == Account::Prepaid);
    message_->setVisible(state.account != Account::Prepaid);
    // The card keeps its height when the balance, which it most often waits for, comes.
    message_->setMinimumHeight(
        state.account == Account::Unknown ? prepaid_->layout()->totalHeightForWidth(contentWidth) : 0);
}

void CreditsSheet::showStatus(const CreditsState& state) {
    const bool failed = !state.error.isEmpty();
    const QString status = failed ? state.error : statusText(state.activity);
    switch (state.account) {
    case CreditsState::Account::Unknown:
        return message_->say(status, failed);
    case CreditsState::Account::Free:
        return message_->say(
            tr("Billing isn’t switched on for this deployment, so Teskal is free to use here."), false);
    case CreditsState::Account::Prepaid:
        return status_->say(status, failed);
    }
}

void CreditsSheet::setAdding(bool adding) {
    // A button that is switched off loses the focus to its neighbour.
    if (adding && add_->hasFocus())
        setFocus(Qt::OtherFocusReason);
    add_->setEnabled(!adding);
}

} // namespace teskal
