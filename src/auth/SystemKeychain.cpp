#include "SystemKeychain.h"

#include "Completion.h"

#include <qt6keychain/keychain.h>

namespace teskal {

namespace {

/// Starts \a job, which deletes itself when done, and hands out its end. The job runs on when nobody waits.
Completion<void> start(QKeychain::Job* job, const QString& account) {
    auto end = std::make_shared<CompletionSource<void>>();
    job->setKey(account);
    job->setInsecureFallback(false);
    job->setAutoDelete(true);
    QObject::connect(job, &QKeychain::Job::finished, job, [end](QKeychain::Job* done) {
        if (done->error() == QKeychain::NoError)
            end->succeed();
        else if (done->error() == QKeychain::EntryNotFound)
            end->failWith(KeychainError(QString()));
        else
            end->failWith(KeychainError(QStringLiteral("the keyring failed (%1)").arg(done->error())));
    });
    const auto completion = end->completion();
    job->start();
    return completion;
}

/// Missing items end a job as an error without a text.
bool isMissing(const KeychainError& error) {
    return error.text().isEmpty();
}

} // namespace

QCoro::Task<std::optional<QByteArray>> SystemKeychain::read(QString account, std::stop_token token) {
    auto* job = new QKeychain::ReadPasswordJob(service_);
    auto bytes = std::make_shared<QByteArray>();
    QObject::connect(job, &QKeychain::Job::finished, job, [job, bytes] { *bytes = job->binaryData(); });
    const auto end = start(job, account);
    try {
        co_await end.wait(token);
    } catch (const KeychainError& error) {
        if (!isMissing(error))
            throw;
        co_return std::nullopt;
    }
    co_return *bytes;
}

QCoro::Task<void> SystemKeychain::write(QString account, QByteArray bytes, std::stop_token token) {
    auto* job = new QKeychain::WritePasswordJob(service_);
    job->setBinaryData(bytes);
    const auto end = start(job, account);
    co_await end.wait(token);
}

QCoro::Task<void> SystemKeychain::remove(QString account, std::stop_token token) {
    const auto end = start(new QKeychain::DeletePasswordJob(service_), account);
    try {
        co_await end.wait(token);
    } catch (const KeychainError& error) {
        if (!isMissing(error))
            throw;
    }
}

} // namespace teskal
