#include "ApiKeys.h"

#include "Cancelled.h"
#include "FailureText.h"

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
    std::optional<APIKeyList> list;
    QString error;
    try {
        const TeskalAPI api = api_();
        auto asking = api.listKeys(stop);
        list = co_await asking;
    } catch (const Cancelled&) {
        // nobody wants it, or the account went
    } catch (...) {
        error = messageError(std::current_exception()).message;
    }
    if (number != loadNumber_)
        co_return;
    loading_ = false;
    if (!error.isEmpty())
        error_ = error;
    if (list) {
        known_ = true;
        enabled_ = list->enabled;
        keys_.clear();
        for (const APIKey& key : std::as_const(list->keys))
            if (!key.revokedAt)
                keys_.append(key);
    }
    Q_EMIT changed();
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
    std::optional<NewAPIKey> key;
    QString error;
    try {
        const TeskalAPI api = api_();
        auto asking = api.createKey(std::move(name), stop);
        key = co_await asking;
    } catch (const Cancelled&) {
        // the account went
    } catch (...) {
        error = messageError(std::current_exception()).message;
    }
    if (session != session_)
        co_return;
    creating_ = false;
    error_ = error;
    if (key)
        secret_ = key->secret;
    if (key)
        load();
    else
        Q_EMIT changed();
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
    bool revoked = false;
    QString error;
    try {
        const TeskalAPI api = api_();
        auto asking = api.revokeKey(id, stop);
        co_await asking;
        revoked = true;
    } catch (const Cancelled&) {
        // the account went
    } catch (...) {
        error = messageError(std::current_exception()).message;
    }
    if (session != session_)
        co_return;
    revoking_.remove(id);
    error_ = error;
    if (revoked)
        keys_.removeIf([&id](const APIKey& key) { return key.id == id; });
    if (revoked)
        load(); // a list that was asked for before still has it
    else
        Q_EMIT changed();
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
