#include "ModelPool.h"

#include "Outcome.h"

namespace teskal {

ModelPool::ModelPool(ApiFactory api, QObject* parent) : QObject(parent), api_(std::move(api)) {}

ModelPool::~ModelPool() {
    ++number_;
}

void ModelPool::load() {
    const quint64 number = ++number_;
    scope_.cancelAll();
    error_.clear();
    loading_ = true;
    scope_.launch([&](std::stop_token stop) { return read(number, std::move(stop)); });
    Q_EMIT changed();
}

QCoro::Task<void> ModelPool::read(quint64 number, std::stop_token stop) {
    auto asking = outcomeOf(api_().pool(std::move(stop)));
    const Outcome<QList<PoolModel>> models = co_await asking;
    if (number != number_)
        co_return;
    loading_ = false;
    error_ = models.error;
    if (models.value)
        models_ = *models.value;
    Q_EMIT changed();
}

void ModelPool::clear() {
    ++number_;
    scope_.cancelAll();
    models_.clear();
    loading_ = false;
    error_.clear();
    Q_EMIT changed();
}

} // namespace teskal
