#include "ModelPool.h"

#include "Cancelled.h"
#include "FailureText.h"

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
    std::optional<QList<PoolModel>> models;
    QString error;
    try {
        const TeskalAPI api = api_();
        auto asking = api.pool(stop);
        models = co_await asking;
    } catch (const Cancelled&) {
        // nobody wants it, or the account went
    } catch (...) {
        error = messageError(std::current_exception()).message;
    }
    if (number != number_)
        co_return;
    loading_ = false;
    error_ = error;
    if (models)
        models_ = *models;
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
