#pragma once

#include <QNetworkAccessManager>

#include <memory>
#include <vector>

namespace teskal {

/// The network access managers of one session. A manager has six connections per host: short requests
/// share one manager, and each long answer borrows one of its own, so that it never takes a place of theirs.
class ManagerPool {
public:
    ManagerPool();

    QNetworkAccessManager& shared() { return *shared_; }
    /// A manager that nobody else uses; an idle one keeps its connection and its TLS session for the next.
    std::unique_ptr<QNetworkAccessManager> borrow();
    /// Takes back a manager whose last exchange ended well.
    void giveBack(std::unique_ptr<QNetworkAccessManager> manager);

private:
    static std::unique_ptr<QNetworkAccessManager> create();

    std::unique_ptr<QNetworkAccessManager> shared_;
    std::vector<std::unique_ptr<QNetworkAccessManager>> idle_;
};

} // namespace teskal
