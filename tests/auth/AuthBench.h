#pragma once

#include "Auth.h"
#include "FakeAuthSession.h"
#include "FakeKeychain.h"
#include "HttpSession.h"
#include "ManualClock.h"
#include "Pending.h"
#include "RawHttpServer.h"
#include "SystemClock.h"

namespace teskal::test {

/// An Auth with a scripted provider, a page and a keyring of the test, and a clock that stands still.
class AuthBench {
public:
    AuthBench();

    SystemClock wallClock; // for time-outs on the wire, which no test waits for
    HttpSession http{wallClock};
    ManualClock clock;
    FakeKeychain keychain;
    FakeAuthSession page;
    RawHttpServer server;
    Config config;

    /// What the provider answers; replaced by tests.
    RawReply tokenReply;
    RawReply userInfoReply;

    /// Puts a session into the keyring as an earlier run would have left it.
    void keep(const QString& accessToken = u"old"_qs, std::optional<QString> refreshToken = u"r1"_qs,
              double secondsLeft = 1000);
    void keepProfile(const QString& sub);
    /// Starts Auth and waits until the stored session was read and checked.
    Auth& begin();
    /// Begins with a session of Ada's.
    Auth& beginSignedIn();
    /// The same, and its access token has expired.
    Auth& beginExpired();
    /// Starts Auth.
    Auth& create();
    Auth& auth() { return *auth_; }
    void destroy() { auth_.reset(); }

    /// A sign-in up to the page, answered with the code "code".
    void signIn();
    /// Answers the page that is open now.
    void answerPage(const QString& code = u"code"_qs);
    Pending<QString> askForToken();
    Pending<QString> askForTokenOf(const QString& sub);

    int requests(const QByteArray& endpoint) const;
    /// The form of the last request to \a endpoint.
    QMap<QString, QString> lastForm(const QByteArray& endpoint) const;
    bool waitForRequests(const QByteArray& endpoint, int count);
    /// Whether Auth and everything it began is through with its work, the keyring included.
    bool settle();

private:
    std::unique_ptr<Auth> auth_;
};

RawReply tokenReplyWith(const QByteArray& accessToken, const QByteArray& refreshToken, int expiresIn = 3600);
RawReply userInfoReplyFor(const QByteArray& sub);
/// \a reply, once the server proceeds.
RawReply held(const RawReply& reply);

/// Waits for the end of what Auth began.
[[nodiscard]] inline bool ends(const Completion<void>& begun) {
    return waitUntil([&begun] { return begun.isDone(); });
}
/// Whether \a call, which is pending, ends with an error of that kind.
template<typename Call>
[[nodiscard]] bool failsAs(AuthError::Kind kind, Call&& call) {
    const auto error = call.template error<AuthError>();
    return error && error->kind() == kind;
}

} // namespace teskal::test
