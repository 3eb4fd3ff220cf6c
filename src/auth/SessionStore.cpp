#include "SessionStore.h"

#include "JsonError.h"
#include "Log.h"

namespace teskal {

namespace {

const QString tokensAccount = QStringLiteral("tokens");
const QString profileAccount = QStringLiteral("profile");

template<typename Record>
std::optional<Record> decoded(const std::optional<QByteArray>& bytes) {
    if (!bytes)
        return std::nullopt;
    try {
        return decodeRecord<Record>(*bytes, Source::LocalFile);
    } catch (const JsonError&) {
        logLine(QStringLiteral("a stored sign-in item is damaged and not used"));
        return std::nullopt;
    }
}

} // namespace

CompletionSource<void> SessionStore::finished() {
    CompletionSource<void> source;
    source.succeed();
    return source;
}

QCoro::Task<std::optional<QByteArray>> SessionStore::readItem(QString account, std::stop_token token) const {
    try {
        auto item = keychain_.read(account, token);
        co_return co_await item;
    } catch (const KeychainError& error) {
        logLine(QStringLiteral("could not read the stored sign-in: ") + error.text());
    }
    co_return std::nullopt;
}

QCoro::Task<SessionStore::Contents> SessionStore::load(std::stop_token token) const {
    Contents contents;
    auto tokens = readItem(tokensAccount, token);
    contents.tokens = decoded<Tokens>(co_await tokens);
    if (!contents.tokens)
        co_return contents;
    auto profile = readItem(profileAccount, token);
    contents.profile = decoded<Profile>(co_await profile);
    if (contents.profile && contents.profile->sub.isEmpty())
        contents.profile.reset();
    co_return contents;
}

void SessionStore::save(const Tokens& tokens) {
    enqueue(tokensAccount, encodeRecord(tokens));
}

void SessionStore::save(const Profile& profile) {
    enqueue(profileAccount, encodeRecord(profile));
}

void SessionStore::removeAll() {
    // Tokens first: a profile without tokens signs nobody in, should we end in between.
    enqueue(tokensAccount, std::nullopt);
    enqueue(profileAccount, std::nullopt);
}

void SessionStore::enqueue(const QString& account, const std::optional<QByteArray>& bytes) {
    Change change{account, bytes};
    changes_.push_back(std::move(change));
    if (storing_)
        return;
    storing_ = true;
    settled_ = CompletionSource<void>();
    scope_.launch([this](std::stop_token token) { return storeChanges(token); });
}

QCoro::Task<void> SessionStore::storeChanges(std::stop_token token) {
    while (!changes_.empty()) {
        const Change change = std::move(changes_.front());
        changes_.pop_front();
        if (change.bytes) {
            auto stored = storeItem(change.account, *change.bytes, token);
            co_await stored;
        } else {
            auto removed = removeItem(change.account, token);
            co_await removed;
        }
    }
    storing_ = false;
    settled_.succeed();
}

QCoro::Task<bool> SessionStore::removeItem(QString account, std::stop_token token) {
    owedRemovals_.insert(account);
    try {
        auto removal = keychain_.remove(account, token);
        co_await removal;
    } catch (const KeychainError& error) {
        logLine(QStringLiteral("could not remove the stored sign-in: ") + error.text());
        co_return false;
    }
    owedRemovals_.remove(account);
    co_return true;
}

QCoro::Task<void> SessionStore::storeItem(QString account, QByteArray bytes, std::stop_token token) {
    const QSet<QString> owed = owedRemovals_;
    for (const QString& other : owed) {
        if (other == account)
            continue; // the write itself replaces it
        auto removal = removeItem(other, token);
        const bool removed = co_await removal;
        if (!removed)
            co_return;
    }
    try {
        auto writing = keychain_.write(account, bytes, token);
        co_await writing;
        owedRemovals_.remove(account);
    } catch (const KeychainError& error) {
        logLine(QStringLiteral("could not store the sign-in: ") + error.text());
    }
}

} // namespace teskal
