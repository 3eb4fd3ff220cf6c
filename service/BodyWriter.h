#pragma once

#include "Connection.h"
#include "Service.h"

#include <httplib.h>
#include <vector>

namespace teskal::service {

/// Sends a body piece by piece at its pace, stopping at holds and cutting it where that was asked for.
class BodyWriter {
public:
    BodyWriter(std::vector<Piece> pieces, Delivery delivery, Service& service, Connection& connection);

    /// Sends the next piece; false when the connection is to be closed instead.
    bool writeNext(httplib::DataSink& sink);
    bool isDone() const { return next_ == pieces_.size(); }

private:
    void splitAt(std::size_t offset);
    bool passHolds();
    bool cutsHere() const { return delivery_.truncateAfter == connection_.bodyBytes; }

    std::vector<Piece> pieces_;
    Delivery delivery_;
    Service& service_;
    Connection& connection_;
    std::size_t next_ = 0;
};

} // namespace teskal::service
