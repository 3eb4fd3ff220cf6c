#include "Outcome.h"

namespace teskal {

namespace {

QCoro::Task<Done> done(QCoro::Task<void> question) {
    co_await std::move(question);
    co_return Done();
}

} // namespace

QCoro::Task<Outcome<Done>> outcomeOf(QCoro::Task<void> question) {
    return outcomeOf(done(std::move(question)));
}

} // namespace teskal
