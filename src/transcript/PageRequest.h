#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

namespace teskal {

struct ReadyRequest {};
struct SendRequest {
    QString text;
};
struct RetryRequest {};
struct CopyRequest {
    QString text;
};
struct SpeakRequest {
    QString messageId;
    QString text;
};
struct SaveMediaRequest {
    QString messageId;
};
struct OpenSheetRequest {
    QString sheet;
};
struct OpenLinkRequest {
    QString url;
};
struct SignInRequest {};
struct FetchRequest {
    qint64 id = 0; ///< the page's number for it
    QString path;
    QString method;
    QString body; ///< empty for none
};

/// What the transcript page can ask for.
using PageRequest =
    std::variant<ReadyRequest, SendRequest, RetryRequest, CopyRequest, SpeakRequest, SaveMediaRequest,
                 OpenSheetRequest, OpenLinkRequest, SignInRequest, FetchRequest>;

/// The request that \a message is; none when its type is unknown, or a member that the type needs is missing,
/// of another type or absurdly long.
std::optional<PageRequest> parsePageRequest(const QJsonObject& message);

} // namespace teskal
