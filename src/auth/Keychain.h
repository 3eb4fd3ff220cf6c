#pragma once

#include "Error.h"

#include <QByteArray>
#include <QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace teskal {

/// The store of secrets is locked, gone or broken. The text is for the log and holds no secret.
class KeychainError : public Error {
public:
    using Error::Error;
};

/// Secrets by account name, under one service name. An item that is not there is told apart from a store
/// that cannot be read. A stopped write or removal may still take effect. Main thread only; must outlive its
/// operations.
class Keychain {
public:
    virtual ~Keychain() = default;

    /// The bytes of \a account, none when there is no such item. Throws KeychainError.
    virtual QCoro::Task<std::optional<QByteArray>> read(QString account, std::stop_token token) = 0;
    /// Creates or replaces the item. Throws KeychainError, and what was stored is unchanged then.
    virtual QCoro::Task<void> write(QString account, QByteArray bytes, std::stop_token token) = 0;
    /// Removes the item; not an error when there is none. Throws KeychainError.
    virtual QCoro::Task<void> remove(QString account, std::stop_token token) = 0;
};

} // namespace teskal
