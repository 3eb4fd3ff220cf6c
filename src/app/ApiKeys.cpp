#include "ApiKeys.h"

#include "Outcome.h"

namespace teskal {

ApiKeys::ApiKeys(ApiFactory api, QObject* parent) : QObject(parent), api_(std::move(api)) {}

ApiKeys::~ApiKeys() {
    ++loadNumber_;
    ++session_;
}

void ApiKeys::load() {
    const quint64 number = ++loadNumber_;
    loading_ = true;
    scope_.launch([&](std::stop_token stop) { return read(number, std::move(stop)); });
    Q_EMIT changed();
}

QCoro::Task<void> ApiKeys::read(quint64 number, std::stop_token stop) {
    auto asking = outcomeOf(api_().listKeys(std::move(stop)));
    const Outcome<APIKeyList> list = co_await asking;
    if (number != loadNumber_)
        co_return;
    loading_ = false;
    if (!list.error.isEmpty())
        error_ = list.error;
    if (list.value)
        take(*list.value);
    Q_EMIT changed();
}

void ApiKeys::take(const APIKeyList& list) {
    known_ = true;
    enabled_ = list.enabled;
    keys_.clear();
    for (const APIKey& key : list.keys)
        if (!key.revokedAt)
            keys_.append(key);
}

void ApiKeys::create(const QString& name) {
    if (creating_)
        return;
    error_.clear();
    secret_.clear();
    creating_ = true;
    const QString trimmed = name.trimmed();
    const QString called = trimmed.isEmpty() ? QStringLiteral("Default") : trimmed;
    scope_.launch([&](std::stop_token stop) { return make(session_, called, std::move(stop)); });
    Q_EMIT changed();
}

QCoro::Task<void> ApiKeys::make(quint64 session, QString name, std::stop_token stop) {
    auto asking = outcomeOf(api_().createKey(std::move(name), std::move(stop)));
    const Outcome<NewAPIKey> key = co_await asking;
    if (session != session_)
        co_return;
    creating_ = false;
    error_ = key.error;
    if (!key.value) {
        Q_EMIT changed();
        co_return;
    }
    secret_ = key.value->secret;
    load();
}

void ApiKeys::revoke(const QString& id) {
    if (revoking_.contains(id))
        return;
    error_.clear();
    revoking_.insert(id);
    scope_.launch([&](std::stop_token stop) { return end(session_, id, std::move(stop)); });
    Q_EMIT changed();
}

QCoro::Task<void> ApiKeys::end(quint64 session, QString id, std::stop_token stop) {
    auto asking = outcomeOf(api_().revokeKey(id, std::move(stop)));
    const Outcome<Done> revoked = co_await asking;
    if (session != session_)
        co_return;
    revoking_.remove(id);
    error_ = revoked.error;
    if (!revoked.value) {
        Q_EMIT changed();
        co_return;
    }
    keys_.removeIf([&id](const APIKey& key) { return key.id == id; });
    load(); // a list that was asked for before still has it
}

void ApiKeys::leave() {
    secret_.clear();
    error_.clear();
    Q_EMIT changed();
}

void ApiKeys::clear() {
    ++loadNumber_;
    ++session_;
    scope_.cancelAll();
    keys_.clear();
    revoking_.clear();
    known_ = loading_ = creating_ = false;
    enabled_ = true;
    leave();
}

} // namespace teskal
