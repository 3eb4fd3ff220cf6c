#include "PageRequest.h"

#include <cmath>
#include <limits>

namespace teskal {

namespace {

// In characters. What is copied may be any text; the rest leads somewhere.
constexpr qsizetype anyLength = std::numeric_limits<qsizetype>::max();
constexpr qsizetype longestText = 1024 * 1024;
constexpr qsizetype longestBody = 64 * 1024;
constexpr qsizetype longestAddress = 8 * 1024;
constexpr qsizetype longestName = 64;

/// Reads members of a message and notes whether all were as they must be.
class Members {
public:
    explicit Members(const QJsonObject& message) : message_(message) {}

    QString text(const char* key, qsizetype longest = longestText) {
        const QJsonValue value = message_.value(QLatin1String(key));
        const QString text = value.toString();
        good_ = good_ && value.isString() && text.size() <= longest;
        return text;
    }
    QString name(const char* key) {
        const QString name = text(key, longestName);
        good_ = good_ && !name.isEmpty();
        return name;
    }
    qint64 integer(const char* key) {
        constexpr double largest = 9007199254740991; // of those that a double holds exactly
        const QJsonValue value = message_.value(QLatin1String(key));
        const double number = value.toDouble();
        const bool isWhole = value.isDouble() && std::abs(number) <= largest && std::trunc(number) == number;
        good_ = good_ && isWhole;
        return isWhole ? qint64(number) : 0;
    }
    bool areGood() const { return good_; }

private:
    const QJsonObject& message_;
    bool good_ = true;
};

std::optional<PageRequest> read(const QString& type, Members& members) {
    if (type == QLatin1String("ready"))
        return ReadyRequest{};
    if (type == QLatin1String("send"))
        return SendRequest{members.text("text")};
    if (type == QLatin1String("retry"))
        return RetryRequest{};
    if (type == QLatin1String("copy"))
        return CopyRequest{members.text("text", anyLength)};
    if (type == QLatin1String("speak"))
        return SpeakRequest{members.name("id"), members.text("text")};
    if (type == QLatin1String("saveMedia"))
        return SaveMediaRequest{members.name("id")};
    if (type == QLatin1String("openSheet"))
        return OpenSheetRequest{members.name("sheet")};
    if (type == QLatin1String("openLink"))
        return OpenLinkRequest{members.text("url", longestAddress)};
    if (type == QLatin1String("signIn"))
        return SignInRequest{};
    if (type == QLatin1String("fetch"))
        return FetchRequest{members.integer("id"), members.text("path", longestAddress),
                            members.name("method"), members.text("body", longestBody)};
    return std::nullopt;
}

} // namespace

std::optional<PageRequest> parsePageRequest(const QJsonObject& message) {
    Members members(message);
    std::optional<PageRequest> request = read(message.value(QLatin1String("type")).toString(), members);
    return members.areGood() ? request : std::nullopt;
}

} // namespace teskal
