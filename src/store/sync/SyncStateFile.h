#pragma once

#include "SerialWorker.h"
#include "SyncState.h"

#include <QString>

#include <functional>

namespace teskal {

/// The file that keeps one account's sync state, beside its chats. Main thread only; it is written away from
/// it.
class SyncStateFile {
public:
    /// \a folder holds the accounts' files.
    SyncStateFile(const QString& folder, const QString& owner);

    /// The state of the file; an empty one when there is no file or it does not decode. Such a file is kept
    /// aside before the first write replaces it.
    SyncState load();
    /// Begins to replace the file; \a nowMs names the copy of a damaged one. A failure is logged, leaves the
    /// old file whole and is told to \a failed from the event loop.
    void write(const SyncState& state, double nowMs, std::function<void()> failed);
    /// Waits until everything is written.
    void finish() { worker_.finish(); }

private:
    QString path_;
    bool damaged_ = false;
    SerialWorker worker_;
};

} // namespace teskal
