#include "APIError.h"
#include "Columns.h"
#include "PercentEncoding.h"
#include "RouteHeaders.h"

#include "JsonText.h"

using namespace teskal::test;

/// What replies say outside their body's text: errors, percent-encoded headers, the route.
class TestAPIError final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void from_data() {
        // code: "-" for none
        const auto row = columns<int, QByteArray, QString, QString>("status", "body", "message", "code");
        const QString none = u"-"_qs;
        const QString ended = u"Your session ended. Sign in again to keep chatting."_qs;
        const auto failed = [](int status) { return u"Request failed (%1)"_qs.arg(status); };
        row("empty", 500, "", failed(500), none);
        row("text", 503, "Service Unavailable", failed(503), none);
        row("array", 500, "[{\"error\": \"x\"}]", failed(500), none);
        row("string", 500, "\"oops\"", failed(500), none);
        row("null", 500, "null", failed(500), none);
        row("cut", 500, "{\"error\": \"half", failed(500), none);
        row("not UTF-8", 500, "{\"error\": \"a\xff\"}", "a\uFFFD", none);
        row("error string", 403, "{\"error\": \"Not allowed\"}", "Not allowed", none);
        row("error object", 402,
            "{\"error\": {\"code\": \"INSUFFICIENT_CREDITS\", \"message\": \"Out of credits.\"}}",
            "Out of credits.", "INSUFFICIENT_CREDITS");
        row("code beside the error", 409,
            "{\"code\": \"TOP\", \"error\": {\"code\": \"INNER\", \"message\": \"m\"}}", "m", "TOP");
        row("code without message", 429, "{\"error\": {\"code\": \"BUSY\"}}", failed(429), "BUSY");
        row("mistyped members", 418, "{\"error\": {\"code\": 7, \"message\": [\"m\"]}, \"code\": {}}",
            failed(418), none);
        row("error number", 418, "{\"error\": 12}", failed(418), none);
        row("401 empty", 401, "", ended, "SIGNED_OUT");
        row("401 with its own text", 401, "{\"error\": \"Token expired\"}", "Token expired", "SIGNED_OUT");
        row("401 with both", 401, "{\"error\": \"Blocked\", \"code\": \"BANNED\"}", "Blocked", "BANNED");
        row("byte-order mark", 500, "\xEF\xBB\xBF{\"error\": \"m\"}", "m", none);
        row("lone surrogate", 500, "{\"error\": \"a\\ud83db\"}", "a\uFFFDb", none);
        row("10,000 levels", 500, QByteArray(10'000, '[') + QByteArray(10'000, ']'), failed(500), none);
    }
    void from() {
        FETCH(int, status, QByteArray, body);
        const APIError error = APIError::from(status, body);
        QCOMPARE(error.status(), status);
        QTEST(error.text(), "message");
        QTEST(error.code().value_or(u"-"_qs), "code");
        QCOMPARE(QString::fromUtf8(error.what()), error.text());
    }

    void percentDecoding_data() {
        // decoded: null for malformed
        const auto row = columns<QByteArray, QString>("encoded", "decoded");
        row("plain", "A title", "A title");
        row("UTF-8", "Caf%C3%A9%20%F0%9F%98%80", "Café 😀");
        row("lower case", "%c3%a9", "é");
        row("plus stays", "a+b", "a+b");
        row("percent itself", "100%25", "100%");
        row("at the end", "100%", QString());
        row("one digit", "a%4", QString());
        row("no digits", "a%zzb", QString());
        row("half a character", "%C3", QString());
        row("not UTF-8", "%ff", QString());
    }
    void percentDecoding() {
        QFETCH(const QByteArray, encoded);
        QTEST(percentDecoded(encoded).value_or(QString()), "decoded");
    }

    void route_data() {
        // headers: "Name: value" lines
        const auto row = columns<QByteArray, QByteArray>("headers", "route");
        row("nothing", QByteArray(), R"({"web": false})");
        row("all",
            "X-Teskal-Model: m-1\nX-Teskal-Model-Name: Model One\nX-Teskal-Lab: Lab\n"
            "X-Teskal-Task: code\nX-Teskal-Difficulty: hard\nX-Teskal-Preference: fast\n"
            "X-Teskal-Effort: high\nX-Teskal-Web: 1\nX-Teskal-Title: A%20title\n"
            "X-Teskal-Anonymized: 2\nX-Teskal-Route: %7B%22a%22%3A%5B1%2Cnull%5D%7D",
            R"({"model": "m-1", "name": "Model One", "lab": "Lab", "task": "code",
                                           "difficulty": "hard", "preference": "fast", "effort": "high",
                                           "web": true, "title": "A title", "anonymized": "2",
                                           "decision": {"a": [1, null]}})");
        row("none is absent",
            "x-teskal-preference: none\nX-TESKAL-EFFORT: "
            "none\nX-Teskal-Task: none\nX-Teskal-Web: true",
            R"({"web": false, "task": "none"})");
        row("malformed encoding", "X-Teskal-Title: 100% sure\nX-Teskal-Route: %7B%7",
            R"({"web": false, "title": "100% sure"})");
        row("decision that is no JSON", "X-Teskal-Route: plain%20text", R"({"web": false})");
        row("decision of any type", "X-Teskal-Route: 0.5", R"({"web": false, "decision": 0.5})");
    }
    void route() {
        FETCH(QByteArray, headers, QByteArray, route);
        HttpHeaders fields;
        for (const QByteArray& line : headers.split('\n'))
            if (!line.isEmpty())
                fields.append(line.left(line.indexOf(':')), line.mid(line.indexOf(':') + 2));
        QVERIFY(routeFromHeaders(fields) == json::parseValue(route));
    }
};

QTEST_GUILESS_MAIN(TestAPIError)
#include "TestAPIError.moc"
