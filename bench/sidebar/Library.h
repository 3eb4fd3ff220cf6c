#pragma once

#include "ChatSearch.h"
#include "ChatStore.h"
#include "FolderStore.h"
#include "ManualClock.h"

#include <QStringList>
#include <QTemporaryDir>

namespace teskal::bench {

/// A large account: 5,000 chats with 100 MB of text over two years, some of them in folders.
struct Library {
    Library();

    /// Bytes of all titles and messages as UTF-8.
    [[nodiscard]] qint64 textBytes() const;
    /// Chats whose title or one of whose messages contains \a query, by QString's own case-insensitive
    /// search.
    [[nodiscard]] int plainSearch(const QString& query) const;

    QTemporaryDir folder;
    ManualClock clock;
    ChatStore store{folder.path(), clock};
    FolderStore folders{folder.path(), clock, [] { return 0.5; }};
    ChatSearch search{store, clock};
};

} // namespace teskal::bench
