#pragma once

#include "Cancelled.h"
#include "SyncState.h"
#include "TeskalAPI.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace teskal {

/// What history sync knows of the account it works for. Passes share it; leaving the account marks it, and
/// nothing that belongs to it is touched afterwards.
struct SyncAccount {
    explicit SyncAccount(TeskalAPI client) : api(std::move(client)) {}

    /// To be called after every wait. Throws Cancelled when the account was left.
    void requireCurrent() const {
        if (left)
            throw Cancelled();
    }
    /// Notes that the service holds this version of the chat, too.
    void confirm(const QString& id, double time) {
        double& known = state.confirmed[id];
        changed = changed || known != time;
        known = time;
    }

    TeskalAPI api;
    SyncState state; ///< of the file once it was read, which is before the first pass
    bool stateRead = false;
    bool changed = false; ///< the state differs from its file
    bool left = false;
    bool enabled = true;       ///< false once the service said that it keeps no history for this account
    bool historyKnown = false; ///< a pass has ended well
    bool running = false;
    bool again = false; ///< another pass was asked for while one was running
    QString logged;     ///< how the last pass failed; empty when it did not
    int signIns = 0;    ///< how often the user signed in again; what failed before counts no more

    // What the service refused, with the version it was about: not tried again until there is another.
    QHash<QString, double> refusedPulls;
    QHash<QString, double> refusedPushes;
    QHash<QString, double> refusedDeletes;
    /// Versions that the service took while their answer was arriving: not sent again until there is another.
    QHash<QString, double> sentWhileAnswering;
    /// Files that the service holds already, by a hash of type and content.
    QHash<QByteArray, QString> uploads;
};

} // namespace teskal
