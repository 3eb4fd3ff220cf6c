#include "Auth.h"

#include "AuthSession.h"
#include "AuthorizationRequest.h"
#include "Clock.h"
#include "HttpError.h"
#include "JsonError.h"

#include <QPointer>

namespace teskal {

namespace {

/// A token that is about to expire would do so on the way: it must be good for longer than this.
constexpr double minimumLifeSeconds = 60;

} // namespace

Auth::Auth(const Config& config, HttpSession& http, Keychain& keychain, AuthSession& session, Clock& clock,
           QObject* parent)
    : QObject(parent), authorizeURL_(config.authorizeURL), provider_(config, http), store_(keychain),
      session_(session), clock_(clock) {
    scope_.launch([this](std::stop_token token) { return restore(token); });
}

Auth::~Auth() {
    // What ends now, ends because this object goes: nobody is to react to it.
    blockSignals(true);
}

void Auth::setSession(std::optional<Tokens> tokens, std::optional<Profile> profile) {
    const bool wasSignedIn = isSignedIn();
    const bool otherProfile = profile != profile_;
    tokens_ = std::move(tokens);
    profile_ = std::move(profile);
    const bool otherSignedIn = isSignedIn() != wasSignedIn;
    if (otherProfile)
        Q_EMIT profileChanged();
    if (otherSignedIn)
        Q_EMIT isSignedInChanged();
}

void Auth::setSigningIn(bool signingIn) {
    if (isSigningIn_ == signingIn)
        return;
    isSigningIn_ = signingIn;
    Q_EMIT isSigningInChanged();
}

void Auth::setLastError(const std::optional<QString>& text) {
    if (lastError_ == text)
        return;
    lastError_ = text;
    Q_EMIT lastErrorChanged();
}

void Auth::endSession() {
    ++generation_;
    if (!refresh_)
        return;
    auto source = std::move(*refresh_);
    refresh_.reset();
    source.failWith(AuthError::signedOut());
}

Tokens Auth::tokensFrom(const TokenGrant& grant, const std::optional<QString>& earlierRefreshToken) const {
    Tokens tokens;
    tokens.accessToken = grant.accessToken;
    tokens.refreshToken = grant.refreshToken ? grant.refreshToken : earlierRefreshToken;
    tokens.expiresAt = secondsSince2001(clock_.nowMs()) + grant.expiresInSeconds;
    return tokens;
}

// Start

QCoro::Task<void> Auth::restore(std::stop_token token) {
    const quint64 generation = generation_;
    auto loading = store_.load(token);
    SessionStore::Contents contents = co_await loading;
    if (generation == generation_ && contents.tokens)
        setSession(std::move(contents.tokens), std::move(contents.profile));
    restored_.succeed();
    if (generation == generation_ && tokens_) {
        auto update = updateProfile(token);
        co_await update;
    }
    isLoading_ = false;
    Q_EMIT isLoadingChanged();
}

// Sign-in

Completion<void> Auth::signIn() {
    auto ended = std::make_shared<CompletionSource<void>>();
    const auto completion = ended->completion();
    if (isSigningIn_) {
        ended->succeed();
        return completion;
    }
    setSigningIn(true);
    setLastError(std::nullopt);
    signInJob_ = scope_.launch([this, ended](std::stop_token token) { return runSignIn(ended, token); });
    return completion;
}

void Auth::cancelSignIn() {
    signInJob_.cancel();
}

QCoro::Task<void> Auth::runSignIn(std::shared_ptr<CompletionSource<void>> ended, std::stop_token token) {
    std::optional<QString> problem;
    try {
        auto authentication = authenticate(token);
        co_await authentication;
    } catch (const Cancelled&) {
        // Given up, as by closing the page.
    } catch (const AuthError& error) {
        if (error.kind() != AuthError::Kind::Cancelled)
            problem = error.text();
    } catch (const Error& error) {
        problem = error.text();
    }
    setLastError(problem);
    setSigningIn(false);
    ended->succeed();
}

QCoro::Task<void> Auth::authenticate(std::stop_token token) {
    const auto request = AuthorizationRequest::create();
    auto page = session_.run(request.url(authorizeURL_), token);
    const QUrl callback = co_await page;
    auto exchange = provider_.exchange(request.exchangeForm(request.codeFrom(callback)), token);
    const TokenGrant grant = co_await exchange;
    startSession(grant);
    auto update = updateProfile(token);
    co_await update;
    if (!profile_)
        throw AuthError::server(QStringLiteral("Signed in, but Passhold didn’t say who you are. Try again."));
}

void Auth::startSession(const TokenGrant& grant) {
    endSession();
    const Tokens tokens = tokensFrom(grant, std::nullopt);
    store_.removeAll();
    store_.save(tokens);
    setSession(tokens, std::nullopt);
}

// Access tokens

QCoro::Task<QString> Auth::accessToken(std::stop_token token) {
    const QPointer<Auth> self(this);
    const auto restored = restored_.completion();
    co_await restored.wait(token);
    if (!self)
        throw Cancelled();
    auto held = heldAccessToken(token);
    co_return co_await held;
}

QCoro::Task<QString> Auth::accessTokenFor(QString sub, std::stop_token token) {
    const QPointer<Auth> self(this);
    const auto restored = restored_.completion();
    co_await restored.wait(token);
    if (!self)
        throw Cancelled();
    const quint64 generation = generation_;
    if (!profile_ || profile_->sub != sub)
        throw AuthError::signedOut();
    auto held = heldAccessToken(token);
    const QString accessToken = co_await held;
    if (!self)
        throw Cancelled();
    if (generation != generation_ || !profile_ || profile_->sub != sub)
        throw AuthError::signedOut();
    co_return accessToken;
}

QCoro::Task<QString> Auth::refreshAccessToken(std::stop_token token) {
    const QPointer<Auth> self(this);
    const auto restored = restored_.completion();
    co_await restored.wait(token);
    if (!self)
        throw Cancelled();
    const auto refresh = sharedRefresh();
    co_return co_await refresh.wait(token);
}

QCoro::Task<QString> Auth::heldAccessToken(std::stop_token token) {
    if (!tokens_)
        throw AuthError::signedOut();
    if (tokens_->expiresAt - secondsSince2001(clock_.nowMs()) > minimumLifeSeconds) {
        const QString accessToken = tokens_->accessToken; // returning the member itself would move it out
        co_return accessToken;
    }
    if (!refresh_ && !tokens_->refreshToken) {
        clear();
        throw AuthError::signedOut();
    }
    const auto refresh = sharedRefresh();
    co_return co_await refresh.wait(token); // touches nothing of ours afterwards
}

Completion<QString> Auth::sharedRefresh() {
    if (refresh_)
        return refresh_->completion();
    if (!tokens_ || !tokens_->refreshToken)
        throw AuthError::signedOut();
    refresh_.emplace();
    const auto completion = refresh_->completion();
    scope_.launch([this, generation = generation_, refreshToken = *tokens_->refreshToken](
                      std::stop_token token) { return runRefresh(generation, refreshToken, token); });
    return completion;
}

QCoro::Task<void> Auth::runRefresh(quint64 generation, QString refreshToken, std::stop_token token) {
    std::optional<TokenGrant> grant;
    std::exception_ptr failure;
    bool rejected = false;
    try {
        auto exchange = provider_.exchange(OAuthClient::refreshForm(refreshToken), token);
        grant = co_await exchange;
    } catch (const AuthError& error) {
        rejected = error.kind() == AuthError::Kind::Rejected;
        failure = rejected ? std::make_exception_ptr(AuthError::signedOut()) : std::current_exception();
    } catch (const Error&) {
        failure = std::current_exception();
    }
    if (generation == generation_)
        finishRefresh(grant, failure, rejected);
    else if (grant && grant->refreshToken && *grant->refreshToken != refreshToken)
        revokeInBackground(
            *grant->refreshToken); // the session ended meanwhile: its new token must not live on
}

void Auth::finishRefresh(const std::optional<TokenGrant>& grant, const std::exception_ptr& failure,
                         bool rejected) {
    auto source = std::move(*refresh_);
    refresh_.reset();
    if (grant) {
        const Tokens tokens = tokensFrom(*grant, tokens_->refreshToken);
        store_.save(tokens);
        setSession(tokens, profile_);
        source.succeed(tokens.accessToken);
        return;
    }
    if (rejected)
        clear();
    source.fail(failure);
}

// Profile

Completion<void> Auth::refreshProfile() {
    auto done = std::make_shared<CompletionSource<void>>();
    const auto completion = done->completion();
    scope_.launch([this, done](std::stop_token token) { return runRefreshProfile(done, token); });
    return completion;
}

QCoro::Task<void> Auth::runRefreshProfile(std::shared_ptr<CompletionSource<void>> done,
                                          std::stop_token token) {
    const auto restored = restored_.completion();
    co_await restored.wait(token);
    auto update = updateProfile(token);
    co_await update;
    done->succeed();
}

QCoro::Task<void> Auth::updateProfile(std::stop_token token) {
    const quint64 generation = generation_;
    try {
        auto fetch = fetchUserInfo(generation, token);
        const UserInfoReply reply = co_await fetch;
        if (generation == generation_)
            takeUserInfo(reply);
    } catch (const AuthError& error) {
        if (error.kind() == AuthError::Kind::SignedOut && generation == generation_)
            clear();
    } catch (const Error&) {
        // A failure on the way says nothing about the session: what is known stays.
    }
}

QCoro::Task<UserInfoReply> Auth::fetchUserInfo(quint64 generation, std::stop_token token) {
    auto held = heldAccessToken(token);
    QString accessToken = co_await held;
    auto fetch = provider_.userInfo(accessToken, token);
    UserInfoReply reply = co_await fetch;
    if (reply.status != 401 || generation != generation_)
        co_return reply;
    const auto refresh = sharedRefresh();
    accessToken = co_await refresh.wait(token);
    auto again = provider_.userInfo(accessToken, token);
    co_return co_await again;
}

void Auth::takeUserInfo(const UserInfoReply& reply) {
    if (reply.status == 401)
        return clear();
    if (reply.status != 200)
        return;
    const auto profile = decodeRecord<Profile>(reply.body, Source::Wire); // JsonError: as it was
    if (profile.sub.isEmpty())
        return;
    store_.save(profile);
    setSession(tokens_, profile);
}

// The end of a session

void Auth::signOut() {
    if (tokens_ && tokens_->refreshToken)
        revokeInBackground(*tokens_->refreshToken);
    clear();
}

void Auth::clear() {
    // With nothing in hand nothing is removed: the keychain may be locked, and what it holds is not ours to
    // judge. Before it was read, what it holds counts as in hand.
    const bool nothingHeld = restored_.isDone() && !tokens_ && !profile_;
    endSession();
    if (nothingHeld)
        return;
    store_.removeAll();
    setSession(std::nullopt, std::nullopt);
}

void Auth::revokeInBackground(const QString& refreshToken) {
    scope_.launch([this, refreshToken](std::stop_token token) { return revoke(refreshToken, token); });
}

QCoro::Task<void> Auth::revoke(QString refreshToken, std::stop_token token) {
    try {
        auto revocation = provider_.revoke(refreshToken, token);
        co_await revocation;
    } catch (const Error&) {
        // The session is over here in any case.
    }
}

} // namespace teskal
