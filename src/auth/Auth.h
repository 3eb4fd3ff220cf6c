#pragma once

#include "AuthError.h"
#include "Completion.h"
#include "OAuthClient.h"
#include "Profile.h"
#include "Scope.h"
#include "SessionStore.h"
#include "Tokens.h"

#include <QObject>

#include <optional>

namespace teskal {

class AuthSession;
class Clock;
class HttpSession;

/// The sign-in: who the user is, and a valid access token for every request.
///
/// Shared work (the token refresh, the stored session, the revocation) belongs to this object and ends with
/// it; a caller whose stop token is set ends only its own wait. Whatever was begun for one session changes
/// nothing once that session was cleared or replaced. Nothing here logs a URL, a code or a token.
///
/// Signals fire from the main thread, only when the value is another one than before, and after every
/// property has its new value. They may fire inside signIn(), signOut() and clear().
class Auth final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isSigningIn READ isSigningIn NOTIFY isSigningInChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool isSignedIn READ isSignedIn NOTIFY isSignedInChanged)
public:
    /// Starts reading the stored session. The references must outlive this object.
    Auth(const Config& config, HttpSession& http, Keychain& keychain, AuthSession& session, Clock& clock,
         QObject* parent = nullptr);
    ~Auth() override;

    bool isSigningIn() const { return isSigningIn_; }
    /// What to show under the sign-in button; none after a success or when the user gave up.
    const std::optional<QString>& lastError() const { return lastError_; }
    /// True from the start until the stored session was read and, when there was one, asked for its profile.
    bool isLoading() const { return isLoading_; }
    /// The user; right after the stored session was read this is what was known last time.
    const std::optional<Profile>& profile() const { return profile_; }
    bool isSignedIn() const { return profile_ && tokens_; }

    /// Runs a sign-in; its outcome is the new state. Does nothing while one runs. The completion is done when
    /// the sign-in has ended in any way, at once when there was nothing to do.
    Completion<void> signIn();
    /// Gives the running sign-in up, as closing its page does. It ends from the event loop, without an error.
    void cancelSignIn();

    /// A token that is good for more than 60 s, renewed first when need be; waits until the stored session
    /// was read. Throws AuthError (SignedOut: there is no session any more, and it is cleared already),
    /// HttpError, or Cancelled when \a token is set.
    QCoro::Task<QString> accessToken(std::stop_token token);
    /// Like accessToken(), but only while the profile's `sub` is \a sub, before and after every wait; throws
    /// AuthError SignedOut otherwise. What a store of account \a sub takes its tokens from.
    QCoro::Task<QString> accessTokenFor(QString sub, std::stop_token token);
    /// A renewed token. All who ask while a renewal is under way share it and its failure.
    QCoro::Task<QString> refreshAccessToken(std::stop_token token);

    /// Asks the provider who the user is; failures leave everything as it was. The completion is done when
    /// the answer has taken effect.
    Completion<void> refreshProfile();

    /// Forgets the session at once, here and in the keychain, and ends it at the provider in the background.
    void signOut();
    /// Forgets the session here and in the keychain. Does nothing when there is none.
    void clear();

    /// Done when the keychain holds what is known here. Worth waiting for, briefly, before the process ends.
    Completion<void> stored() const { return store_.settled(); }

Q_SIGNALS:
    /// A sign-in began or ended.
    void isSigningInChanged();
    /// A sign-in failed with a text, or a new one began and took the text away.
    void lastErrorChanged();
    /// Once, false.
    void isLoadingChanged();
    /// Another user, none, or other details of the same one.
    void profileChanged();
    /// Profile and tokens are both there, or no longer.
    void isSignedInChanged();

private:
    /// Puts both in place before any signal fires.
    void setSession(std::optional<Tokens> tokens, std::optional<Profile> profile);
    void setSigningIn(bool signingIn);
    void setLastError(const std::optional<QString>& text);
    /// From here on nothing that was begun for the present session may change anything.
    void endSession();
    Tokens tokensFrom(const TokenGrant& grant, const std::optional<QString>& earlierRefreshToken) const;

    QCoro::Task<void> restore(std::stop_token token);
    QCoro::Task<void> runSignIn(std::shared_ptr<CompletionSource<void>> ended, std::stop_token token);
    QCoro::Task<void> authenticate(std::stop_token token);
    /// Makes \a grant, the answer to an authorization code, the session in place of the present one.
    void startSession(const TokenGrant& grant);

    /// accessToken() once the stored session was read.
    QCoro::Task<QString> heldAccessToken(std::stop_token token);
    /// The renewal under way, or a new one. Throws AuthError SignedOut when nothing can be renewed.
    Completion<QString> sharedRefresh();
    QCoro::Task<void> runRefresh(quint64 generation, QString refreshToken, std::stop_token token);
    void finishRefresh(const std::optional<TokenGrant>& grant, const std::exception_ptr& failure,
                       bool rejected);

    QCoro::Task<void> runRefreshProfile(std::shared_ptr<CompletionSource<void>> done, std::stop_token token);
    QCoro::Task<void> updateProfile(std::stop_token token);
    QCoro::Task<UserInfoReply> fetchUserInfo(quint64 generation, std::stop_token token);
    void takeUserInfo(const UserInfoReply& reply);
    void revokeInBackground(const QString& refreshToken);
    QCoro::Task<void> revoke(QString refreshToken, std::stop_token token);

    QUrl authorizeURL_;
    OAuthClient provider_;
    SessionStore store_;
    AuthSession& session_;
    Clock& clock_;
    std::optional<Tokens> tokens_;
    std::optional<Profile> profile_;
    std::optional<QString> lastError_;
    bool isSigningIn_ = false;
    bool isLoading_ = true;
    CompletionSource<void> restored_;                  // the keychain was read
    std::optional<CompletionSource<QString>> refresh_; // the renewal under way
    quint64 generation_ = 0;                           // counts sessions, cleared ones included
    Job signInJob_;
    Scope scope_;
};

} // namespace teskal
