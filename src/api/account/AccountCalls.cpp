#include "AccountCalls.h"

#include "AccountFields.h"
#include "JsonCall.h"
#include "TeskalAPI.h"

namespace teskal {

namespace {

struct PoolReply {
    QList<PoolModel> pool;
};

struct SavedReply {
    AccountSettings settings;
};

} // namespace

template<>
struct RecordFields<PoolReply> {
    static constexpr auto list = std::tuple{requiredField("pool", &PoolReply::pool)};
};

template<>
struct RecordFields<SavedReply> {
    static constexpr auto list = std::tuple{requiredField("settings", &SavedReply::settings)};
};

namespace {

/// {"<key>": "<text>"}
QByteArray oneMember(std::string_view key, const QString& text) {
    JsonWriter writer;
    writer.beginObject();
    writer.key(key);
    writer.string(text);
    writer.endObject();
    return writer.take();
}

QByteArray purchase(int credits) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("credits");
    writer.number(credits);
    writer.key("returnTo");
    writer.string(u"/chat");
    writer.endObject();
    return writer.take();
}

QByteArray changes(const std::optional<bool>& anonymize, const std::optional<QStringList>& disabledModels) {
    JsonWriter writer;
    writer.beginObject();
    if (anonymize) {
        writer.key("anonymize");
        writer.boolean(*anonymize);
    }
    if (disabledModels) {
        writer.key("disabledModels");
        json::writeValue(writer, *disabledModels);
    }
    writer.endObject();
    return writer.take();
}

/// The address goes to the browser: nothing but a page on the web is usable.
QUrl checkoutPage(const QByteArray& reply) {
    QUrl page;
    try {
        const auto text = json::parseValue(reply).member(QStringLiteral("url")).text();
        page = QUrl(text.value_or(QString()), QUrl::StrictMode);
    } catch (const JsonError&) {
        page.clear();
    }
    const bool isWeb = page.scheme() == QLatin1String("https") || page.scheme() == QLatin1String("http");
    if (!page.isValid() || !isWeb || page.host().isEmpty())
        throw APIError(502, std::nullopt, QStringLiteral("Could not start checkout."));
    return page;
}

} // namespace

QCoro::Task<Billing> billingCall(TeskalAPI api, bool fresh, std::stop_token stop) {
    const QByteArray path = fresh ? "/api/billing?fresh" : "/api/billing";
    auto exchange = jsonCall(api, "GET", path, std::nullopt, stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<Billing>(reply, Source::Wire);
}

QCoro::Task<QUrl> checkoutCall(TeskalAPI api, int credits, std::stop_token stop) {
    auto exchange = jsonCall(api, "POST", "/api/billing", purchase(credits), stop);
    const QByteArray reply = co_await exchange;
    co_return checkoutPage(reply);
}

QCoro::Task<APIKeyList> listKeysCall(TeskalAPI api, std::stop_token stop) {
    auto exchange = jsonCall(api, "GET", "/api/keys", std::nullopt, stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<APIKeyList>(reply, Source::Wire);
}

QCoro::Task<NewAPIKey> createKeyCall(TeskalAPI api, QString name, std::stop_token stop) {
    auto exchange = jsonCall(api, "POST", "/api/keys", oneMember("name", name), stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<NewAPIKey>(reply, Source::Wire);
}

QCoro::Task<void> revokeKeyCall(TeskalAPI api, QString id, std::stop_token stop) {
    auto exchange = jsonCall(api, "DELETE", "/api/keys", oneMember("id", id), stop);
    co_await exchange;
}

QCoro::Task<QList<PoolModel>> poolCall(TeskalAPI api, std::stop_token stop) {
    auto exchange = jsonCall(api, "GET", "/api/routes", std::nullopt, stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<PoolReply>(reply, Source::Wire).pool;
}

QCoro::Task<SettingsReply> settingsCall(TeskalAPI api, std::stop_token stop) {
    auto exchange = jsonCall(api, "GET", "/api/settings", std::nullopt, stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<SettingsReply>(reply, Source::Wire);
}

QCoro::Task<AccountSettings> saveSettingsCall(TeskalAPI api, std::optional<bool> anonymize,
                                              std::optional<QStringList> disabledModels,
                                              std::stop_token stop) {
    auto exchange = jsonCall(api, "PUT", "/api/settings", changes(anonymize, disabledModels), stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<SavedReply>(reply, Source::Wire).settings;
}

} // namespace teskal
