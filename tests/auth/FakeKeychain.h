#pragma once

#include "Completion.h"
#include "Keychain.h"

#include <QMap>
#include <QStringList>

namespace teskal::test {

/// A keyring in memory that can be locked, made to fail, or made to take its time.
class FakeKeychain final : public Keychain {
public:
    QMap<QString, QByteArray> items;
    bool locked = false; ///< every operation fails
    bool removalsFail = false;
    QStringList changes; ///< what was written and removed, in the order of taking effect

    /// Operations from now on wait for open().
    void close() { gate_ = CompletionSource<void>(); }
    void open() { gate_.succeed(); }

    FakeKeychain() { open(); }

    QCoro::Task<std::optional<QByteArray>> read(QString account, std::stop_token token) override {
        auto turn = takeTurn(token);
        co_await turn;
        const auto found = items.constFind(account);
        co_return found == items.cend() ? std::nullopt : std::optional(*found);
    }

    QCoro::Task<void> write(QString account, QByteArray bytes, std::stop_token token) override {
        auto turn = takeTurn(token);
        co_await turn;
        items.insert(account, bytes);
        changes += u"write "_qs + account;
    }

    QCoro::Task<void> remove(QString account, std::stop_token token) override {
        auto turn = takeTurn(token);
        co_await turn;
        if (removalsFail)
            throw KeychainError(u"locked"_qs);
        items.remove(account);
        changes += u"remove "_qs + account;
    }

private:
    QCoro::Task<void> takeTurn(std::stop_token token) {
        const auto gate = gate_.completion();
        co_await gate.wait(token);
        if (locked)
            throw KeychainError(u"locked"_qs);
    }

    CompletionSource<void> gate_;
};

} // namespace teskal::test
