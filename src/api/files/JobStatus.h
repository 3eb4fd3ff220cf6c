#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// How a video or music job is doing.
struct JobStatus {
    QString status = QStringLiteral("pending"); ///< see isDone() and isFailed() for how it ends
    std::optional<QString> fileId;              ///< the stored result
    std::optional<QString> url;                 ///< where the result can be fetched
    std::optional<QString> mediaType;           ///< MIME type of the result
    std::optional<QString> lyrics;              ///< of generated music
    std::optional<QString> message;             ///< a status or error text

    bool isDone() const { return status == QLatin1String("done") || status == QLatin1String("complete"); }
    bool isFailed() const { return status == QLatin1String("error"); }

    friend bool operator==(const JobStatus&, const JobStatus&) = default;
};

/// Reads a job's reply. Never throws: members of a wrong type count as absent, a body that is not a JSON
/// object as an empty one.
JobStatus readJobStatus(QByteArrayView body);

} // namespace teskal
