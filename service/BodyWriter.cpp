#include "BodyWriter.h"

#include <algorithm>

namespace teskal::service {

BodyWriter::BodyWriter(std::vector<Piece> pieces, Delivery delivery, Service& service, Connection& connection)
    : pieces_(std::move(pieces)), delivery_(std::move(delivery)), service_(service), connection_(connection) {
    for (const Hold& hold : delivery_.holds)
        splitAt(*hold.afterBytes);
    if (delivery_.truncateAfter)
        splitAt(*delivery_.truncateAfter);
}

bool BodyWriter::writeNext(httplib::DataSink& sink) {
    if (!passHolds())
        return false;
    if (cutsHere()) {
        connection_.outcome = "truncated";
        connection_.drop(false);
        return false;
    }
    if (isDone())
        return true;
    const Piece& piece = pieces_[next_];
    const auto pause = delivery_.chunkDelay * piece.ticks;
    if (pause.count() > 0) {
        const auto wake = connection_.wait(pause);
        if (wake != Connection::Wake::TimedOut) {
            connection_.outcome = wake == Connection::Wake::PeerLeft ? "clientLeft" : "stopped";
            return false;
        }
    }
    ++next_;
    connection_.bodyBytes += piece.bytes.size();
    return sink.write(piece.bytes.data(), piece.bytes.size());
}

/// Makes a piece end at `offset` bytes of the body, if the body is that long.
void BodyWriter::splitAt(std::size_t offset) {
    for (auto piece = pieces_.begin(); piece != pieces_.end(); ++piece) {
        if (offset < piece->bytes.size()) {
            if (offset == 0)
                return;
            Piece rest{piece->bytes.substr(offset), 0};
            piece->bytes.resize(offset);
            pieces_.insert(piece + 1, std::move(rest));
            return;
        }
        offset -= piece->bytes.size();
    }
}

bool BodyWriter::passHolds() {
    return std::all_of(delivery_.holds.begin(), delivery_.holds.end(), [&](const Hold& hold) {
        return *hold.afterBytes != connection_.bodyBytes ||
               service_.passHold(hold, delivery_.logEntry, connection_);
    });
}

} // namespace teskal::service
