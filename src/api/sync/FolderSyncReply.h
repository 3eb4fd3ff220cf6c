#pragma once

#include "FolderDocument.h"

namespace teskal {

/// How the service answered the account's folders.
struct FolderSyncReply {
    int status = 0;                         ///< 200 to 299, or 413: the document is too large for the service
    std::optional<FolderDocument> document; ///< the service's own version, when it sent one
    std::optional<double> serverTime;       ///< the service's clock, ms since 1970
    std::optional<QString> error;           ///< with 413: the service's own words for the user, if any

    bool isTooLarge() const { return status == 413; }

    friend bool operator==(const FolderSyncReply&, const FolderSyncReply&) = default;
};

} // namespace teskal
