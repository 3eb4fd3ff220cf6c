#pragma once

#include "Keychain.h"

#include <QMap>

namespace teskal {

/// Secrets in one private file, for machines without a keyring: mode 0600 in a folder of mode 0700, replaced
/// as a whole (temporary file, fsync, rename). Every operation is complete when its call returns.
class FileKeychain final : public Keychain {
public:
    /// \a path is the file; its folder is made when the first item is written.
    explicit FileKeychain(QString path) : path_(std::move(path)) {}

    QCoro::Task<std::optional<QByteArray>> read(QString account, std::stop_token token) override;
    QCoro::Task<void> write(QString account, QByteArray bytes, std::stop_token token) override;
    QCoro::Task<void> remove(QString account, std::stop_token token) override;

private:
    using Items = QMap<QString, QByteArray>;

    /// Throws KeychainError when the file is there and cannot be read or understood.
    Items load() const;
    void save(const Items& items) const;
    /// Like load, but sets a file that cannot be understood aside, so that it can be replaced.
    Items loadForChange() const;

    QString path_;
};

} // namespace teskal
