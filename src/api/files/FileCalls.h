#pragma once

#include "JobStatus.h"

#include <QCoroTask>

#include <stop_token>

namespace teskal {

class TeskalAPI;

// Files that the service stores, and the jobs that make some of them. Calls throw as TeskalAPI says.

/// Stores \a bytes, of the MIME type \a mediaType, and returns the file's identifier. APIError 502 when the
/// service names none.
QCoro::Task<QString> uploadFileCall(TeskalAPI api, QByteArray bytes, QString mediaType, std::stop_token stop);

/// Fetches the file \a id to the path \a destination, whose folder must exist, and returns its MIME type
/// without parameters. What was there is replaced in one step when the file is whole, and untouched when the
/// call fails. Throws FileError for what the file system refuses.
QCoro::Task<QString> downloadFileCall(TeskalAPI api, QString id, QString destination, std::stop_token stop);

/// A stored file in memory.
struct FileContent {
    QByteArray bytes;
    QString mediaType; ///< MIME type without parameters

    friend bool operator==(const FileContent&, const FileContent&) = default;
};

/// Fetches the file \a id for what must not touch the disk. A file of more than 256 MiB ends in HttpError
/// TooLarge; downloadFileCall has no limit.
QCoro::Task<FileContent> readFileCall(TeskalAPI api, QString id, std::stop_token stop);

/// Asks how a job is doing. \a kind is "video" or "music"; for any other the call ends in APIError with
/// status 400 and code "BAD_KIND", and nothing is sent.
QCoro::Task<JobStatus> jobStatusCall(TeskalAPI api, QString kind, QString token, std::stop_token stop);

} // namespace teskal
