#pragma once

#include "Error.h"

namespace teskal {

/// Why a sign-in or a request for an access token failed. The text is what the user reads.
class AuthError : public Error {
public:
    enum class Kind {
        Server,        ///< a failure that the provider describes, or that we describe for it
        Rejected,      ///< the provider refuses the grant itself: the session is over
        Cancelled,     ///< the user gave up; never shown
        StateMismatch, ///< the callback answers another request than ours
        SignedOut,     ///< there is no session (any more)
    };

    static AuthError server(const QString& message) { return {Kind::Server, message}; }
    static AuthError rejected(const QString& message) { return {Kind::Rejected, message}; }
    static AuthError cancelled();
    static AuthError stateMismatch();
    static AuthError signedOut();

    Kind kind() const { return kind_; }

private:
    AuthError(Kind kind, const QString& text) : Error(text), kind_(kind) {}

    Kind kind_;
};

} // namespace teskal
