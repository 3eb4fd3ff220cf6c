#pragma once

#include "Scope.h"
#include "TeskalAPI.h"

#include <QObject>

#include <functional>

namespace teskal {

/// The models that the service routes to at present. Main thread only.
class ModelPool final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;

    /// \a api makes a client for the account that is signed in when it is called.
    explicit ModelPool(ApiFactory api, QObject* parent = nullptr);
    ~ModelPool() override;

    /// As the service told them last.
    const QList<PoolModel>& models() const { return models_; }
    bool isLoading() const { return loading_; }
    /// Why the last load came to nothing, for the user; empty when it did not.
    const QString& error() const { return error_; }

    /// Asks the service; the newest question counts. A failure leaves models() as it is.
    void load();
    /// Forgets everything, replies still to come included: the account is another.
    void clear();

Q_SIGNALS:
    /// Any of the above is another.
    void changed();

private:
    QCoro::Task<void> read(quint64 number, std::stop_token stop);

    ApiFactory api_;
    QList<PoolModel> models_;
    bool loading_ = false;
    QString error_;
    quint64 number_ = 0;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
