#include "AuthError.h"
#include "AuthorizationRequest.h"
#include "Columns.h"
#include "OAuthClient.h"
#include "Pkce.h"
#include "Profile.h"
#include "Tokens.h"

#include <QUrlQuery>

namespace teskal::test {

using Kind = AuthError::Kind;

class TestAuthProtocol : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void challengeIsThatOfTheStandard() {
        // RFC 7636 appendix B.
        QCOMPARE(pkce::challenge(u"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"_qs),
                 u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"_qs);
    }

    void randomTextIsUrlSafeAndNew() {
        const QRegularExpression alphabet(u"^[A-Za-z0-9_-]*$"_qs);
        QSet<QString> seen;
        for (int i = 0; i < 200; ++i) {
            const QString text = pkce::randomURLSafe(32);
            QCOMPARE(text.size(), 43);
            QVERIFY(alphabet.match(text).hasMatch());
            seen.insert(text);
        }
        QCOMPARE(seen.size(), 200);
        QCOMPARE(pkce::randomURLSafe(16).size(), 22);
    }

    void formKeepsOnlyUnreservedCharacters() {
        const FormFields fields{{u"redirect_uri"_qs, oauth::redirectUri}, {u"a b"_qs, u"é+&=%~._-Z9"_qs}};
        QCOMPARE(formEncoded(fields),
                 "redirect_uri=app.teskal.mac%3A%2F%2Fcallback&a%20b=%C3%A9%2B%26%3D%25~._-Z9");
    }

    void authorizationUrlHasTheseItemsInThisOrder() {
        const QUrl endpoint(u"https://id.example/oauth/authorize"_qs);
        const auto request = AuthorizationRequest::create();
        const QUrl url = request.url(endpoint);
        QCOMPARE(url.adjusted(QUrl::RemoveQuery), endpoint);
        const QUrlQuery query(url);
        const auto value = [&](const char* name) {
            return query.queryItemValue(QLatin1String(name), QUrl::FullyDecoded);
        };
        QStringList items;
        for (const auto& [name, given] : query.queryItems(QUrl::FullyDecoded))
            items += name + u'=' + given;
        const QStringList expected{u"response_type=code"_qs,
                                   u"client_id=dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs,
                                   u"redirect_uri=app.teskal.mac://callback"_qs,
                                   u"scope=openid profile email"_qs,
                                   u"state="_qs + value("state"),
                                   u"nonce="_qs + value("nonce"),
                                   u"code_challenge="_qs + value("code_challenge"),
                                   u"code_challenge_method=S256"_qs};
        QCOMPARE(items, expected);
        QCOMPARE(value("state").size(), 22);
        QCOMPARE(value("nonce").size(), 22);
        QVERIFY(value("state") != value("nonce"));
        const FormFields form = request.exchangeForm(u"c"_qs);
        QCOMPARE(form.last().first, u"code_verifier"_qs);
        QCOMPARE(value("code_challenge"), pkce::challenge(form.last().second));
    }

    void callback_data() {
        // query: STATE stands for the state of the request
        const auto row = columns<QString, QString, QString>("query", "code", "error");
        const QString mismatch = u"Sign-in didn’t match the request. Try again."_qs;
        const QString noCode = u"Passhold didn’t return a sign-in code."_qs;
        row("code", "?code=abc&state=STATE", "abc");
        row("encoded code", "?state=STATE&code=a%2Fb%2B%25c", "a/b+%c");
        row("first item counts", "?code=one&code=two&state=STATE&state=other", "one");
        row("error before state", "?error=access_denied&state=other&code=abc", "", "access_denied");
        row("description", "?error=x&error_description=You%20said%20no.&code=abc&state=STATE", "",
            "You said no.");
        row("description as a form", "?error=x&error_description=You+said%2Bno.", "", "You said+no.");
        row("empty description", "?error=x&error_description=", "", "x");
        row("error without value", "?error", "", "Passhold didn’t accept the sign-in.");
        row("description alone is no error", "?error_description=x&state=STATE&code=abc", "abc");
        row("other state", "?code=abc&state=other", "", mismatch);
        row("first state counts", "?code=abc&state=other&state=STATE", "", mismatch);
        row("no state", "?code=abc", "", mismatch);
        row("empty state", "?code=abc&state=", "", mismatch);
        row("no query", "", "", mismatch);
        row("empty query", "?", "", mismatch);
        row("code in the fragment", "#code=abc&state=STATE", "", mismatch);
        row("no code", "?state=STATE", "", noCode);
        row("empty code", "?state=STATE&code=", "", noCode);
        row("code without value", "?code&state=STATE", "", noCode);
        row("broken encoding", "?state=STATE&code=%zz", "%zz");
    }
    void callback() {
        QFETCH(QString, query);
        const auto request = AuthorizationRequest::create();
        const QUrlQuery sent(request.url(QUrl(u"https://id.example/oauth/authorize"_qs)));
        query.replace(u"STATE"_qs, sent.queryItemValue(u"state"_qs));
        QString got;
        QString text;
        try {
            got = request.codeFrom(QUrl(u"app.teskal.mac://callback"_qs + query));
        } catch (const AuthError& caught) {
            text = caught.text();
            const bool states = text.startsWith(u"Sign-in didn’t match"_qs);
            QCOMPARE(caught.kind(), states ? Kind::StateMismatch : Kind::Server);
        }
        QTEST(text, "error");
        QTEST(got, "code");
    }

    void grant_data() {
        // refreshToken: "-" for none
        const auto row = columns<QByteArray, QString, double>("body", "refreshToken", "life");
        row("complete", R"({"access_token":"a","refresh_token":"r","expires_in":90})", "r", 90);
        row("no life", R"({"access_token":"a"})", "-", 3600);
        row("life as text", R"({"access_token":"a","expires_in":"90"})", "-", 3600);
        row("life beyond numbers", R"({"access_token":"a","expires_in":1e400})", "-", 3600);
        row("fraction", R"({"access_token":"a","expires_in":90.5})", "-", 90.5);
        row("refresh token of another type", R"({"access_token":"a","refresh_token":7})", "-", 3600);
        row("refresh token not printable", "{\"access_token\":\"a\",\"refresh_token\":\"r\\n\"}", "-", 3600);
        row("byte-order mark", "\xef\xbb\xbf{\"access_token\":\"a\"}", "-", 3600);
        row("last duplicate", R"({"access_token":"b","access_token":"a"})", "-", 3600);
    }
    void grant() {
        QFETCH(const QByteArray, body);
        const TokenGrant grant = OAuthClient::grantFrom(200, body);
        QCOMPARE(grant.accessToken, u"a"_qs);
        QTEST(grant.refreshToken.value_or(u"-"_qs), "refreshToken");
        QTEST(grant.expiresInSeconds, "life");
    }

    void refusal_data() {
        const auto row = columns<int, QByteArray, bool, QString>("status", "body", "rejected", "text");
        const QString plain = u"Passhold didn’t accept the sign-in."_qs;
        row("invalid_grant", 400, R"({"error":"invalid_grant"})", true, "invalid_grant");
        row("invalid_client", 400, R"({"error":"invalid_client","error_description":"No."})", true, "No.");
        row("unauthorized_client", 403, R"({"error":"unauthorized_client"})", true, "unauthorized_client");
        row("other error", 400, R"({"error":"invalid_request"})", false, "invalid_request");
        row("401 empty", 401, "", true, plain);
        row("401 with another error", 401, R"({"error":"x"})", true, "x");
        row("500 page", 500, "<html>", false, plain);
        row("500 invalid_grant", 500, R"({"error":"invalid_grant"})", true, "invalid_grant");
        row("error of another type", 400, R"({"error":{"message":"m"},"error_description":5})", false, plain);
        row("200 empty", 200, "", false, plain);
        row("200 array", 200, R"(["access_token"])", false, plain);
        row("200 without token", 200, R"({"token":"a"})", false, plain);
        row("200 with number", 200, R"({"access_token":5})", false, plain);
        row("200 with null", 200, R"({"access_token":null})", false, plain);
        row("200 with empty token", 200, R"({"access_token":""})", false, plain);
        row("200 with line break", 200, "{\"access_token\":\"a\\r\\nX: y\"}", false, plain);
        row("200 with error", 200, R"({"error":"invalid_grant"})", true, "invalid_grant");
        row("201 with token", 201, R"({"access_token":"a"})", false, plain);
        row("truncated", 200, "{\"access_token\":\"a", false, plain);
        row("deeply nested", 200, QByteArray(10'000, '['), false, plain);
        row("nested in the token's way", 200, "{\"x\":" + QByteArray(900, '[') + QByteArray(900, ']') + "}",
            false, plain);
        row("not UTF-8", 200, "{\"access_token\":\"\xff\"}", false, plain);
    }
    void refusal() {
        FETCH(int, status, QByteArray, body, bool, rejected, QString, text);
        try {
            OAuthClient::grantFrom(status, body);
            QFAIL("the reply was accepted");
        } catch (const AuthError& error) {
            QCOMPARE(error.kind(), rejected ? Kind::Rejected : Kind::Server);
            QCOMPARE(error.text(), text);
        }
    }
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestAuthProtocol)
#include "TestAuthProtocol.moc"
