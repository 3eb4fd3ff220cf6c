#include "Balance.h"

#include "Outcome.h"

namespace teskal {

Balance::Balance(ApiFactory api, QObject* parent) : QObject(parent), api_(std::move(api)) {}

Balance::~Balance() {
    ++refreshNumber_;
    ++purchaseNumber_;
}

void Balance::refresh(bool fresh) {
    if (refresh_ && refresh_->fresh && !fresh)
        return;
    if (refresh_)
        refresh_->job.cancel();
    error_.clear();
    const quint64 number = ++refreshNumber_;
    refresh_ = Refresh{fresh, Job()};
    const Job job = scope_.launch([&](std::stop_token stop) { return read(number, fresh, std::move(stop)); });
    if (refresh_ && number == refreshNumber_)
        refresh_->job = job;
    Q_EMIT changed();
}

QCoro::Task<void> Balance::read(quint64 number, bool fresh, std::stop_token stop) {
    auto asking = outcomeOf(api_().billing(fresh, std::move(stop)));
    const Outcome<Billing> read = co_await asking;
    if (number != refreshNumber_)
        co_return;
    refresh_.reset();
    error_ = read.error;
    if (read.value)
        take(*read.value);
    Q_EMIT changed();
}

void Balance::take(const Billing& billing) {
    // Another balance than before: what was bought has arrived, or is no longer what the user thinks about.
    if (purchase_ == Purchase::Opened && billing_ && billing_->balance != billing.balance)
        purchase_ = Purchase::None;
    billing_ = billing;
}

void Balance::buy(int credits) {
    if (purchase_ == Purchase::Opening)
        return;
    error_.clear();
    purchase_ = Purchase::Opening;
    const quint64 number = ++purchaseNumber_;
    const Job job =
        scope_.launch([&](std::stop_token stop) { return begin(number, credits, std::move(stop)); });
    if (purchase_ == Purchase::Opening && number == purchaseNumber_)
        purchaseJob_ = job;
    Q_EMIT changed();
}

QCoro::Task<void> Balance::begin(quint64 number, int credits, std::stop_token stop) {
    auto asking = outcomeOf(api_().checkout(credits, std::move(stop)));
    const Outcome<QUrl> page = co_await asking;
    if (number != purchaseNumber_)
        co_return;
    purchase_ = page.value ? Purchase::Opened : Purchase::None;
    error_ = page.error;
    Q_EMIT changed();
    if (page.value)
        Q_EMIT checkoutReady(*page.value);
}

void Balance::leave() {
    ++purchaseNumber_;
    purchaseJob_.cancel();
    purchase_ = Purchase::None;
    error_.clear();
    Q_EMIT changed();
}

void Balance::clear() {
    ++refreshNumber_;
    if (refresh_)
        refresh_->job.cancel();
    refresh_.reset();
    billing_.reset();
    leave();
}

} // namespace teskal
