#pragma once

#include "Error.h"

namespace teskal {

/// A request that ended without a usable reply. The text is ours, never the network library's (whose
/// texts carry URLs); `detail` is for the log and holds no URL either.
class HttpError : public Error {
public:
    enum class Kind {
        Offline,        ///< no network, or the host was not found while the machine is unreachable
        ConnectionLost, ///< the connection ended before the reply was complete, or the peer does not speak
                        ///< HTTP
        TimedOut,       ///< nothing came over the wire for as long as the request allows
        HostNotFound,
        Refused,
        Certificate, ///< the peer's certificate is not trusted
        BrokenReply, ///< the reply came compressed, or is damaged in a way that its reader notices
        TooLarge,    ///< the body is larger than the request allows
        Other,
    };

    HttpError(Kind kind, int qtCode, const QString& detail);

    Kind kind() const { return kind_; }
    /// QNetworkReply::NetworkError of the failure, 0 when the session raised it itself.
    int qtCode() const { return qtCode_; }
    const QString& detail() const { return detail_; }

    /// The sentence shown for \a kind.
    static QString textFor(Kind kind);

private:
    Kind kind_;
    int qtCode_;
    QString detail_;
};

} // namespace teskal
