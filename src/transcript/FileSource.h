#pragma once

#include "PageFile.h"

#include <QCoroTask>

#include <stop_token>
#include <variant>

namespace teskal {

/// Why there is no file.
enum class FileAbsence {
    Missing,   ///< no such file, or it cannot be had now
    NoAccount, ///< nobody is signed in
};

using FileLookup = std::variant<PageFile, FileAbsence>;

/// Where the transcript page's stored files come from. Main thread only.
class FileSource {
public:
    virtual ~FileSource() = default;

    /// The file \a id, fetched from the service first when it is not here. Throws Cancelled when \a stop is
    /// set, and nothing else. The source must outlive the call, not the task.
    virtual QCoro::Task<FileLookup> find(QString id, std::stop_token stop) = 0;
};

} // namespace teskal
