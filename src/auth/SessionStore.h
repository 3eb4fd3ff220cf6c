#pragma once

#include "Completion.h"
#include "Keychain.h"
#include "Profile.h"
#include "Scope.h"
#include "Tokens.h"

#include <QSet>

#include <deque>

namespace teskal {

/// Mirrors the session into the keychain, in the order of the calls and without making anybody wait. A
/// failure is logged, never shown. What is stored is never of two sessions at once: a removal that failed is
/// made good before anything is written, and until then nothing is. Main thread only.
class SessionStore {
public:
    struct Contents {
        std::optional<Tokens> tokens;
        std::optional<Profile> profile; ///< none without tokens, and never with an empty identity
    };

    /// \a keychain must outlive the store.
    explicit SessionStore(Keychain& keychain) : keychain_(keychain) {}

    /// What is stored. Items that are absent, damaged or cannot be read now count as none, and stay.
    QCoro::Task<Contents> load(std::stop_token token) const;

    void save(const Tokens& tokens);
    void save(const Profile& profile);
    void removeAll();
    /// Done when no change waits to be stored.
    Completion<void> settled() const { return settled_.completion(); }

private:
    struct Change {
        QString account;
        std::optional<QByteArray> bytes; ///< none removes the item
    };

    QCoro::Task<std::optional<QByteArray>> readItem(QString account, std::stop_token token) const;
    void enqueue(const QString& account, const std::optional<QByteArray>& bytes);
    QCoro::Task<void> storeChanges(std::stop_token token);
    QCoro::Task<void> storeItem(QString account, QByteArray bytes, std::stop_token token);
    QCoro::Task<bool> removeItem(QString account, std::stop_token token);

    Keychain& keychain_;
    std::deque<Change> changes_;
    QSet<QString> owedRemovals_;
    bool storing_ = false;
    CompletionSource<void> settled_ = finished();
    static CompletionSource<void> finished();
    Scope scope_;
};

} // namespace teskal
