#include "HttpErrorMapping.h"

#include <QMetaEnum>

namespace teskal {

namespace {

using Kind = HttpError::Kind;
using Code = QNetworkReply::NetworkError;

/// The codes that the network library derives from a status of 400 and above.
bool repeatsStatus(Code code, int status) {
    if (status < 400)
        return false;
    if (code == Code::ContentReSendError)
        return false;
    return (code >= Code::ContentAccessDenied && code <= Code::UnknownContentError) ||
           code == Code::ProtocolInvalidOperationError || code == Code::ProtocolUnknownError ||
           (code >= Code::InternalServerError && code <= Code::UnknownServerError);
}

Kind kindOf(Code code) {
    switch (code) {
    case Code::ConnectionRefusedError:
    case Code::ProxyConnectionRefusedError:
    case Code::ProxyNotFoundError:
        return Kind::Refused;
    case Code::HostNotFoundError:
        return Kind::HostNotFound;
    // Sending again is not an option for a request that has a body, so its connection is lost.
    case Code::ContentReSendError:
    case Code::RemoteHostClosedError:
    case Code::ProxyConnectionClosedError:
        return Kind::ConnectionLost;
    case Code::TimeoutError:
    case Code::ProxyTimeoutError:
        return Kind::TimedOut;
    case Code::TemporaryNetworkFailureError:
    case Code::NetworkSessionFailedError:
        return Kind::Offline;
    case Code::SslHandshakeFailedError:
        return Kind::Certificate;
    case Code::ProtocolFailure:
    case Code::ProtocolUnknownError:
        return Kind::BrokenReply;
    default:
        return Kind::Other;
    }
}

/// Failures that a machine without network causes; they say nothing about the service then.
bool mayMeanOffline(Code code) {
    return code == Code::HostNotFoundError || code == Code::UnknownNetworkError ||
           code == Code::TimeoutError || code == Code::RemoteHostClosedError ||
           code == Code::ProxyNotFoundError;
}

QString nameOf(Code code) {
    const char* key = QMetaEnum::fromType<Code>().valueToKey(code);
    return key ? QString::fromLatin1(key) : QString::number(code);
}

} // namespace

std::optional<HttpError> httpErrorFrom(Code code, int status, bool machineOffline) {
    if (code == Code::NoError || repeatsStatus(code, status))
        return std::nullopt;
    const Kind kind = machineOffline && mayMeanOffline(code) ? Kind::Offline : kindOf(code);
    return HttpError(kind, code, nameOf(code));
}

} // namespace teskal
