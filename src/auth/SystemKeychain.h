#pragma once

#include "Keychain.h"

namespace teskal {

/// The desktop's keyring, reached through QtKeychain. Never falls back to plain text.
class SystemKeychain final : public Keychain {
public:
    explicit SystemKeychain(QString service) : service_(std::move(service)) {}

    QCoro::Task<std::optional<QByteArray>> read(QString account, std::stop_token token) override;
    QCoro::Task<void> write(QString account, QByteArray bytes, std::stop_token token) override;
    QCoro::Task<void> remove(QString account, std::stop_token token) override;

private:
    QString service_;
};

} // namespace teskal
