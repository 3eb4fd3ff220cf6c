#pragma once

#include <QNetworkAccessManager>

#include <memory>
#include <vector>

namespace teskal {

/// The network access managers of one session. A manager has six connections per host: short requests
/// share one manager, and each long answer borrows one of its own, so that it never takes a place of theirs.
/// A manager one of whose requests was given up or failed gets no new ones: on Qt 6.4 it may close the
/// connection that it opens for another request, take this for a break in mid-request and fail it unsent.
/// For the same reason nothing is aborted on a manager that still carries another request.
class ManagerPool {
public:
    /// The manager of short requests. The requests that it carries keep it.
    std::shared_ptr<QNetworkAccessManager> shared();
    /// Takes \a manager out of service, if it is the shared one: the next short request gets a fresh one.
    void retire(const std::shared_ptr<QNetworkAccessManager>& manager);
    /// A manager that nobody else uses; an idle one keeps its connection and its TLS session for the next.
    std::unique_ptr<QNetworkAccessManager> borrow();
    /// Takes back a manager whose last exchange ended well.
    void giveBack(std::unique_ptr<QNetworkAccessManager> manager);

private:
    static std::unique_ptr<QNetworkAccessManager> create();

    std::shared_ptr<QNetworkAccessManager> shared_; // null until a short request asks for it
    std::vector<std::unique_ptr<QNetworkAccessManager>> idle_;
};

} // namespace teskal
