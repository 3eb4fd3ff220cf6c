#include "AuthBench.h"

#include <QUrlQuery>

namespace teskal::test {

namespace {

const QByteArray issuerPath = "/functions/v1/oauth/";

} // namespace

RawReply tokenReplyWith(const QByteArray& accessToken, const QByteArray& refreshToken, int expiresIn) {
    QByteArray body = R"({"access_token":")" + accessToken + R"(","token_type":"bearer")";
    if (!refreshToken.isEmpty())
        body += R"(,"refresh_token":")" + refreshToken + '"';
    body += R"(,"expires_in":)" + QByteArray::number(expiresIn) + '}';
    return RawReply::complete(200, body);
}

RawReply userInfoReplyFor(const QByteArray& sub) {
    return RawReply::complete(200, R"({"sub":")" + sub + R"(","name":"Name of )" + sub + R"("})");
}

RawReply held(const RawReply& reply) {
    RawReply later = RawReply().pause();
    for (const RawReply::Step& step : reply.steps())
        later.send(step.bytes);
    return later;
}

AuthBench::AuthBench()
    : config(*Config::forLocalService(server.url(QString()).toString())),
      tokenReply(tokenReplyWith("new", "r2")), userInfoReply(userInfoReplyFor("ada")) {
    server.setHandler([this](const RawRequest& request) {
        if (request.target == issuerPath + "token")
            return tokenReply;
        if (request.target == issuerPath + "userinfo")
            return userInfoReply;
        return RawReply::complete(200, "{}");
    });
}

void AuthBench::keep(const QString& accessToken, std::optional<QString> refreshToken, double secondsLeft) {
    const double end = secondsSince2001(clock.nowMs()) + secondsLeft;
    keychain.items[u"tokens"_qs] = encodeRecord(Tokens{accessToken, std::move(refreshToken), end});
}

void AuthBench::keepProfile(const QString& sub) {
    Profile profile;
    profile.sub = sub;
    keychain.items[u"profile"_qs] = encodeRecord(profile);
}

Auth& AuthBench::create() {
    destroy();
    auth_ = std::make_unique<Auth>(config, http, keychain, page, clock);
    return *auth_;
}

Auth& AuthBench::begin() {
    create();
    if (!waitUntil([this] { return !auth_->isLoading(); }))
        qFatal("the stored session is not read in time");
    return *auth_;
}

Auth& AuthBench::beginSignedIn() {
    keep();
    return begin();
}

Auth& AuthBench::beginExpired() {
    Auth& auth = beginSignedIn();
    clock.advance(std::chrono::hours(1));
    return auth;
}

void AuthBench::answerPage(const QString& code) {
    const QString state = QUrlQuery(page.opened.last()).queryItemValue(u"state"_qs);
    page.callBack(QUrl(u"app.teskal.mac://callback?code=%1&state=%2"_qs.arg(code, state)));
}

void AuthBench::signIn() {
    auth_->signIn();
    answerPage();
    if (!waitUntil([this] { return !auth_->isSigningIn(); }))
        qFatal("the sign-in does not end");
}

Pending<QString> AuthBench::askForToken() {
    return start([this](std::stop_token token) { return auth_->accessToken(token); });
}

Pending<QString> AuthBench::askForTokenOf(const QString& sub) {
    return start([this, sub](std::stop_token token) { return auth_->accessTokenFor(sub, token); });
}

int AuthBench::requests(const QByteArray& endpoint) const {
    int count = 0;
    for (const RawRequest& request : server.requests())
        count += request.target == issuerPath + endpoint;
    return count;
}

QMap<QString, QString> AuthBench::lastForm(const QByteArray& endpoint) const {
    QMap<QString, QString> form;
    for (const RawRequest& request : server.requests()) {
        if (request.target != issuerPath + endpoint)
            continue;
        form.clear();
        const QUrlQuery query(QString::fromUtf8(request.body));
        for (const auto& [name, value] : query.queryItems(QUrl::FullyDecoded))
            form.insert(name, value);
    }
    return form;
}

bool AuthBench::waitForRequests(const QByteArray& endpoint, int count) {
    return waitUntil([&] { return requests(endpoint) >= count; });
}

bool AuthBench::settle() {
    return ends(auth_->stored());
}

} // namespace teskal::test
