#include "ApiClient.h"
#include "Columns.h"

#include <QTest>

#include <functional>

using namespace teskal;
using namespace teskal::test;

namespace {

/// One call, run to its end and told in one line.
using Call = std::function<QString(const ApiClient&)>;

template<typename Body, typename Tell>
Call callOf(Body body, Tell tell) {
    return [body, tell](const ApiClient& client) {
        auto call = start([&](std::stop_token stop) { return body(client.api, std::move(stop)); });
        const auto end = ended(call);
        return end.value ? tell(*end.value) : end.failure;
    };
}

template<typename Number>
QString text(const std::optional<Number>& number) {
    return number ? QString::number(*number, 'f', 2) : QStringLiteral("-");
}
QString text(const std::optional<qint64>& number) {
    return number ? QString::number(*number) : QStringLiteral("-");
}
QString text(const std::optional<QString>& string) {
    return string.value_or(QStringLiteral("-"));
}
QString text(bool truth) {
    return truth ? QStringLiteral("yes") : QStringLiteral("no");
}
QString text(const AccountSettings& settings) {
    return text(settings.anonymize) + QLatin1Char('[') + settings.disabledModels.join(QLatin1Char(' ')) +
           QLatin1Char(']');
}

QString told(const Billing& billing) {
    return QStringList{text(billing.enabled), text(billing.balance), text(billing.creditUsd),
                       text(billing.error)}
        .join(QLatin1Char(' '));
}
QString told(const QUrl& url) {
    return url.toString();
}
QString told(const APIKeyList& list) {
    QString line = text(list.enabled);
    for (const APIKey& key : list.keys)
        line += QLatin1String("; ") + QStringList{key.id,
                                                  key.name,
                                                  key.prefix,
                                                  text(std::optional(key.createdAt)),
                                                  text(key.revokedAt),
                                                  text(key.lastUsedAt)}
                                          .join(QLatin1Char(' '));
    return line;
}
QString told(const NewAPIKey& key) {
    return QStringList{text(key.id), text(key.name), key.secret}.join(QLatin1Char(' '));
}
QString told(const QList<PoolModel>& pool) {
    QStringList lines;
    for (const PoolModel& model : pool) {
        const Health health = model.health.value_or(Health());
        lines.append(QStringList{model.id, model.name, text(model.lab), text(model.health.has_value()),
                                 text(health.samples), text(health.ttft), text(health.errorRate)}
                         .join(QLatin1Char(' ')));
    }
    return lines.join(QLatin1String("; "));
}
QString told(const SettingsReply& reply) {
    QString line = text(reply.settings) + QLatin1Char(' ') + text(reply.anonymizeCredits) + QLatin1Char(' ') +
                   (reply.enabled ? text(*reply.enabled) : QStringLiteral("-"));
    for (const ModelOption& model : reply.models)
        line += QLatin1String("; ") + QStringList{model.id, model.ids.join(QLatin1Char('+')), model.name,
                                                  text(model.lab), model.kind}
                                          .join(QLatin1Char(' '));
    return line;
}
QString told(const AccountSettings& settings) {
    return text(settings);
}
QString told(const QString& string) {
    return string;
}
QString told(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex());
}
QString told(bool) {
    return QStringLiteral("done");
}

const auto tell = [](const auto& value) { return told(value); };

} // namespace

Q_DECLARE_METATYPE(Call)

/// What each call about the account sends, and what it makes of the reply.
class TestAccountCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void calls_data();
    void calls() {
        QFETCH(const Call, call);
        QFETCH(const int, status);
        QFETCH(const QByteArray, reply);
        RawHttpServer server(RawReply::complete(status, reply));
        const ApiClient client(server.url());
        QTEST(call(client), "outcome");
        QTEST(onlyRequest(server), "request");
    }

    void passthroughGoesNowhereElse_data() {
        // target: "-": never asked
        columns<QString, QString, QString>("path", "method", "target");
        const auto row = [](const char* path, const char* target = "-", const char* method = "GET") {
            QTest::addRow("%s %s", method, path)
                << QString::fromUtf8(path) << QString::fromLatin1(method) << QString::fromLatin1(target);
        };
        row("/api/unfurl", "/api/unfurl");
        row("/api/unfurl", "/api/unfurl", "POST");
        row("/api/unfurl?url=https%3A%2F%2Fa.example%2F..%2Fb&x=/../keys",
            "/api/unfurl?url=https%3A%2F%2Fa.example%2F..%2Fb&x=/../keys");
        row("/api/unfurl/image/a%20b", "/api/unfurl/image/a%20b");
        row("/api/unfurl/../unfurl/a", "/api/unfurl/a");
        for (const char* path : {"",
                                 "/api/keys",
                                 "api/unfurl",
                                 "/api/unfurlx",
                                 "/API/unfurl",
                                 "/api/unfurl/../keys",
                                 "/api/unfurl/..",
                                 "/api/unfurl/%2e%2e/keys",
                                 "/api/unfurl/..%2fkeys",
                                 "/api/unfurl/..%5Ckeys",
                                 "/api/unfurl\\..\\keys",
                                 "/api/unfurl/%252e%252e/keys",
                                 "/api/unfurl%2f..%2fkeys",
                                 "/api/unfurl/a%00",
                                 "/api/unfurl/%zz",
                                 "/api/unfurl/\t../keys",
                                 "/api/unfurl/.\n./keys",
                                 "/api/unfurl ",
                                 "/api/unfurl#/../keys",
                                 "//host/api/unfurl",
                                 "http://host/api/unfurl",
                                 "https:/api/unfurl",
                                 "//u@host/api/unfurl",
                                 "/api/./keys/../unfurl",
                                 "/api/unfurl/\xC3\xA9",
                                 "/api/unfurl\xEF\xBC\x8F..\xEF\xBC\x8Fkeys"})
            row(path);
        for (const char* method : {"DELETE", "PUT", "HEAD", "get", "", "GET /api/keys HTTP/1.1\r\nX:"})
            row("/api/unfurl", "-", method);
    }
    void passthroughGoesNowhereElse() {
        QFETCH(const QString, path);
        QFETCH(const QString, method);
        QFETCH(const QString, target);
        RawHttpServer server(RawReply::complete(200, "seen"));
        const ApiClient client(server.url());
        const PassthroughReply reply = waitFor(
            [&](std::stop_token stop) { return client.api.passthrough(path, method, std::nullopt, stop); });
        if (target == QLatin1String("-")) {
            const PassthroughReply refused{403, QStringLiteral("application/json"),
                                           QStringLiteral(R"({"error":"Not allowed"})")};
            QVERIFY(reply == refused);
            QCOMPARE(server.connectionCount(), 0);
            QCOMPARE(client.tokensGiven, 0);
        } else {
            QCOMPARE(reply.body, QStringLiteral("seen"));
            QCOMPARE(onlyRequest(server), method + QLatin1Char(' ') + target);
        }
    }

    void passthroughReplies_data() {
        const auto row = columns<RawReply, int, QString, QString>("raw", "status", "contentType", "body");
        const QString json = QStringLiteral("application/json");
        row("failure", RawReply::complete(401, "{\"a\":\xC3\xA9}", "Content-Type: text/x; charset=utf-8\r\n"),
            401, "text/x; charset=utf-8", "{\"a\":é}");
        row("redirect", RawReply::complete(302, "", "Location: /api/keys\r\n"), 302, QString(), QString());
        row("cut", RawReply::head(200, "Content-Length: 9\r\n").send("x").close(), 502, json,
            R"({"error":"Offline"})");
        row("too large", RawReply::head(200, "Content-Length: 5000000\r\n").pause(), 502, json,
            R"({"error":"Offline"})");
    }
    void passthroughReplies() {
        QFETCH(const RawReply, raw);
        RawHttpServer server(raw);
        const ApiClient client(server.url());
        const PassthroughReply reply = waitFor([&](std::stop_token stop) {
            return client.api.passthrough(QStringLiteral("/api/unfurl"), QStringLiteral("GET"),
                                          QStringLiteral(R"({"b":1})"), stop);
        });
        QTEST(reply.status, "status");
        QTEST(reply.contentType, "contentType");
        QTEST(reply.body, "body");
        QCOMPARE(onlyRequest(server), QStringLiteral(R"(GET /api/unfurl {"b":1})"));
    }

    void passthroughStops() {
        RawHttpServer server(RawReply::head(200, "Content-Length: 9\r\n").pause());
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) {
            return client.api.passthrough(QStringLiteral("/api/unfurl"), QStringLiteral("GET"), std::nullopt,
                                          stop);
        });
        QVERIFY(waitUntil([&] { return server.pausedCount() == 1; }));
        call.stop();
        QCOMPARE(ended(call).failure, QStringLiteral("Cancelled"));
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestAccountCalls::calls_data() {
    const auto row =
        columns<Call, QString, int, QByteArray, QString>("call", "request", "status", "reply", "outcome");
    using Api = const TeskalAPI&;
    using Stop = std::stop_token;

    const Call billing = callOf([](Api api, Stop stop) { return api.billing(false, stop); }, tell);
    const Call fresh = callOf([](Api api, Stop stop) { return api.billing(true, stop); }, tell);
    row("billing", billing, "GET /api/billing", 200,
        R"({"enabled": true, "balance": 1200.0, "creditUsd": 0.25, "error": "e"})", "yes 1200 0.25 e");
    row("billing, fresh", fresh, "GET /api/billing?fresh", 200, R"({"enabled": false})", "no - - -");
    row("half a credit", billing, "GET /api/billing", 200, R"({"enabled": true, "balance": 0.5})", "JSON");

    const Call checkout = callOf([](Api api, Stop stop) { return api.checkout(500, stop); }, tell);
    const char* purchase = R"(POST /api/billing {"credits":500,"returnTo":"/chat"})";
    const char* noPage = "API 502 -: Could not start checkout.";
    row("checkout", checkout, purchase, 200, R"({"url": "https://pay.example/c?a=b"})",
        "https://pay.example/c?a=b");
    row("checkout without a page", checkout, purchase, 200, "{}", noPage);
    row("checkout at a file", checkout, purchase, 200, R"({"url": "file:///etc/passwd"})", noPage);
    row("checkout without JSON", checkout, purchase, 200, "https://pay.example", noPage);

    const Call keys = callOf([](Api api, Stop stop) { return api.listKeys(stop); }, tell);
    row("keys", keys, "GET /api/keys", 200, R"({"enabled": true, "keys": [
            {"id": "k", "name": "n", "prefix": "tkl_sk_a", "createdAt": 1, "revokedAt": 2.5, "lastUsedAt": null}]})",
        "yes; k n tkl_sk_a 1.00 2.50 -");
    const Call create =
        callOf([](Api api, Stop stop) { return api.createKey(QStringLiteral("My \"key\""), stop); }, tell);
    row("new key", create, R"(POST /api/keys {"name":"My \"key\""})", 201,
        R"({"secret": "tkl_sk_abc", "id": "k"})", "k - tkl_sk_abc");
    const Call revoke =
        callOf([](Api api, Stop stop) { return api.revokeKey(QStringLiteral("k-1"), stop); }, tell);
    row("revoked key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 204, "", "done");
    row("unknown key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 404, "",
        "API 404 -: Request failed (404)");

    const Call pool = callOf([](Api api, Stop stop) { return api.pool(stop); }, tell);
    row("pool", pool, "GET /api/routes", 200,
        R"({"pool": [{"id": "a", "name": "A", "lab": "L", "health": {"samples": 9, "ttft": 0.5, "errorRate": 0}}, {"id": "b", "name": "B"}]})",
        "a A L yes 9.00 0.50 0.00; b B - no - - -");

    const Call settings = callOf([](Api api, Stop stop) { return api.settings(stop); }, tell);
    row("settings", settings, "GET /api/settings", 200,
        R"({"settings": {"anonymize": true, "disabledModels": ["x", "y"]}, "anonymizeCredits": 3, "enabled": false,
            "models": [{"id": "o", "ids": ["x", "z"], "name": "O", "lab": "L", "kind": "text"}]})",
        "yes[x y] 3 no; o x+z O L text");
    row("least settings", settings, "GET /api/settings", 200,
        R"({"settings": {"anonymize": false, "disabledModels": []}, "models": []})", "no[] - -");
    const auto save = [](std::optional<bool> anonymize, std::optional<QStringList> models) {
        return callOf([=](Api api, Stop stop) { return api.saveSettings(anonymize, models, stop); }, tell);
    };
    const QByteArray saved = R"({"settings": {"anonymize": true, "disabledModels": ["m"]}})";
    row("save one", save(true, std::nullopt), R"(PUT /api/settings {"anonymize":true})", 200, saved,
        "yes[m]");
    row("save the other", save(std::nullopt, QStringList()), R"(PUT /api/settings {"disabledModels":[]})",
        200, saved, "yes[m]");

    const Call transcribe = callOf(
        [](Api api, Stop stop) { return api.transcribe("RIFF", QStringLiteral("audio/wav"), stop); }, tell);
    row("transcribe", transcribe, "POST /api/transcribe no JSON: RIFF", 200, R"({"text": "Grüße"})", "Grüße");
    const Call speech =
        callOf([](Api api, Stop stop) { return api.speech(QStringLiteral("Say\nit"), stop); }, tell);
    row("speech", speech, R"(POST /api/speech {"text":"Say\nit"})", 200, QByteArray("\0\xFF{", 3), "00ff7b");
}

QTEST_GUILESS_MAIN(TestAccountCalls)
#include "TestAccountCalls.moc"
