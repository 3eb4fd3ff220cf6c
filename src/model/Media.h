#pragma once

#include "JSONValue.h"

#include <QString>

#include <optional>

namespace teskal {

/// An image, video or song that the service generated, or the job that is generating it.
struct Media {
    QString type;               ///< "image", "video" or "music"
    std::optional<QString> url; ///< where the finished result can be fetched, or the result as a data URL
    std::optional<QString> prompt;
    std::optional<QString> status; ///< "pending", "done" or "error", as last reported
    std::optional<QString> model;
    std::optional<JSONValue> operation; ///< the service's description of the job, kept as received
    std::optional<QString> message;     ///< status or error text from the service
    bool dropped = false;               ///< the inline result was removed from the stored copy
    std::optional<QString> fileId;      ///< the stored result file
    std::optional<QString> mediaType;   ///< MIME type of the result
    std::optional<QString> job;         ///< token that polls the job
    std::optional<QString> requestId;
    std::optional<QString> lyrics;
    std::optional<double> startedAt; ///< when the job was started, ms since 1970

    bool isPending() const { return status == QLatin1String("pending"); }
    bool isVideo() const { return type == QLatin1String("video"); }
    bool isSong() const { return type == QLatin1String("music"); }
    /// Whether the service is still making it, and can be asked how it does.
    bool isPendingJob() const { return isPending() && (isVideo() || isSong()); }

    /// What polling sends: `job`, else the text under "job" in `operation`, else none.
    std::optional<QString> jobToken() const;

    friend bool operator==(const Media&, const Media&) = default;
};

} // namespace teskal
