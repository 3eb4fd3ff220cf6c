#include "ManagerPool.h"

#include <QHostAddress>
#include <QNetworkProxyFactory>

namespace teskal {

namespace {

constexpr std::size_t maxIdle = 2;

/// The system's proxies, and none for this machine: a local service is not behind the company's proxy.
class ProxyChoice final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override {
        const QString host = query.peerHostName();
        if (host == QLatin1String("localhost") || QHostAddress(host).isLoopback())
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return systemProxyForQuery(query);
    }
};

} // namespace

std::unique_ptr<QNetworkAccessManager> ManagerPool::create() {
    auto manager = std::make_unique<QNetworkAccessManager>();
    manager->setProxyFactory(new ProxyChoice); // the manager owns it
    return manager;
}

std::shared_ptr<QNetworkAccessManager> ManagerPool::shared() {
    if (!shared_)
        shared_ = create();
    return shared_;
}

void ManagerPool::retire(const std::shared_ptr<QNetworkAccessManager>& manager) {
    if (shared_ == manager)
        shared_.reset();
}

std::unique_ptr<QNetworkAccessManager> ManagerPool::borrow() {
    if (idle_.empty())
        return create();
    auto manager = std::move(idle_.back());
    idle_.pop_back();
    return manager;
}

void ManagerPool::giveBack(std::unique_ptr<QNetworkAccessManager> manager) {
    if (idle_.size() < maxIdle)
        idle_.push_back(std::move(manager));
    else
        manager.release()->deleteLater(); // its reply may still be on the way out of its last signal
}

} // namespace teskal
