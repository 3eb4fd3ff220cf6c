#include "AuthError.h"

namespace teskal {

AuthError AuthError::cancelled() {
    return {Kind::Cancelled, QStringLiteral("Sign-in was cancelled.")};
}

AuthError AuthError::stateMismatch() {
    return {Kind::StateMismatch, QStringLiteral("Sign-in didn’t match the request. Try again.")};
}

AuthError AuthError::signedOut() {
    return {Kind::SignedOut, QStringLiteral("Your session ended. Sign in again to keep chatting.")};
}

} // namespace teskal
