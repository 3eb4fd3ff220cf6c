#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

namespace teskal {

/// What an account's device remembers of its exchanges with the service. Times are ms since 1970.
struct SyncState {
    /// By chat. A type of its own, so that its JSON form is found.
    class Times : public QHash<QString, double> {};

    Times confirmed;   ///< `updatedAt` of the version that both sides are known to hold
    Times deletes;     ///< deletions of the user that the service has not heard of
    Times sentDeletes; ///< deletions that it has; they keep a chat from coming back from slower devices

    friend bool operator==(const SyncState&, const SyncState&) = default;
};

/// Reads the three maps, all of which must be there. Throws JsonError.
SyncState decodeSyncState(QByteArrayView json);
QByteArray encodeSyncState(const SyncState& state);

} // namespace teskal
