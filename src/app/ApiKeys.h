#pragma once

#include "Scope.h"
#include "TeskalAPI.h"

#include <QObject>
#include <QSet>

#include <functional>

namespace teskal {

/// The keys with which other programs use the account: lists them, makes and revokes them. Main thread only.
class ApiKeys final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;

    /// \a api makes a client for the account that is signed in when it is called.
    explicit ApiKeys(ApiFactory api, QObject* parent = nullptr);
    ~ApiKeys() override;

    /// The keys that work, as the service told them last.
    const QList<APIKey>& keys() const { return keys_; }
    /// Whether the service has told of its keys yet.
    bool isKnown() const { return known_; }
    /// Whether the service can keep keys; true until it says otherwise.
    bool isEnabled() const { return enabled_; }
    bool isLoading() const { return loading_; }
    bool isCreating() const { return creating_; }
    bool isRevoking(const QString& id) const { return revoking_.contains(id); }
    /// The whole of the key that was made last; empty when there is none to show. It is told only once.
    const QString& secret() const { return secret_; }
    /// Why the last call came to nothing, for the user; empty when it did not.
    const QString& error() const { return error_; }

    /// Asks the service; the newest question counts.
    void load();
    /// Makes a key; one without a name is called "Default". Nothing while one is being made.
    void create(const QString& name);
    void revoke(const QString& id);
    /// The user has seen the secret and the error. A key that is still being made keeps its own to show.
    void leave();
    /// Forgets everything, replies still to come included: the account is another.
    void clear();

Q_SIGNALS:
    /// Any of the above is another.
    void changed();

private:
    QCoro::Task<void> read(quint64 number, std::stop_token stop);
    void take(const APIKeyList& list);
    QCoro::Task<void> make(quint64 session, QString name, std::stop_token stop);
    QCoro::Task<void> end(quint64 session, QString id, std::stop_token stop);

    ApiFactory api_;
    QList<APIKey> keys_;
    bool known_ = false;
    bool enabled_ = true;
    bool loading_ = false;
    bool creating_ = false;
    QSet<QString> revoking_;
    QString secret_;
    QString error_;
    quint64 loadNumber_ = 0;
    quint64 session_ = 0; ///< counts what clear() ends
    Scope scope_;         // last: its coroutines use the above
};

} // namespace teskal
