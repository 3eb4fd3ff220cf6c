#include "HttpError.h"

namespace teskal {

HttpError::HttpError(Kind kind, int qtCode, const QString& detail)
    : Error(textFor(kind)), kind_(kind), qtCode_(qtCode), detail_(detail) {}

QString HttpError::textFor(Kind kind) {
    switch (kind) {
    case Kind::Offline:
    case Kind::ConnectionLost:
    case Kind::TimedOut:
        return QStringLiteral("You’re offline. Check your connection and try again.");
    case Kind::HostNotFound:
        return QStringLiteral("Teskal can’t be found on the network. Check your connection and try again.");
    case Kind::Refused:
        return QStringLiteral("Teskal can’t be reached right now. Try again in a moment.");
    case Kind::Certificate:
        return QStringLiteral(
            "The connection to Teskal isn’t secure, so nothing was sent. Check your network "
            "and this computer’s clock, then try again.");
    case Kind::BrokenReply:
        return QStringLiteral("Teskal’s answer arrived damaged. Try again.");
    case Kind::TooLarge:
        return QStringLiteral("Teskal’s answer is too large for this app.");
    case Kind::Other:
        break;
    }
    return QStringLiteral("Teskal couldn’t be reached. Try again.");
}

} // namespace teskal
