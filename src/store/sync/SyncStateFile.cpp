#include "SyncStateFile.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "JsonError.h"
#include "Log.h"

#include <QFile>
#include <QFileInfo>

#include <memory>
#include <optional>

namespace teskal {

namespace {

struct Result {
    QString keptAs; ///< name of the damaged file's copy, if one was made
    std::optional<QString> failure;
};

} // namespace

SyncStateFile::SyncStateFile(const QString& folder, const QString& owner)
    : path_(folder + QLatin1Char('/') + accountFileName(owner) + QStringLiteral(".sync.json")) {}

SyncState SyncStateFile::load() {
    removeLeftovers(path_);
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) {
        damaged_ = file.exists();
        return {};
    }
    try {
        return decodeSyncState(file.readAll());
    } catch (const JsonError&) {
        damaged_ = true;
        return {};
    }
}

void SyncStateFile::write(const SyncState& state, double nowMs, std::function<void()> failed) {
    const auto result = std::make_shared<Result>();
    const bool keepOld = std::exchange(damaged_, false);
    const auto work = [path = path_, state, nowMs, keepOld, result] {
        try {
            if (keepOld && QFileInfo::exists(path))
                result->keptAs = keepDamagedFile(path, nowMs);
            writeFileAtomically(path, encodeSyncState(state));
        } catch (const FileError& error) {
            result->failure = error.text();
        }
    };
    worker_.run(work, [this, keepOld, result, failed = std::move(failed)] {
        if (!result->keptAs.isEmpty())
            logDamagedFile(result->keptAs);
        if (!result->failure)
            return;
        damaged_ = damaged_ || (keepOld && result->keptAs.isEmpty());
        logLine(QStringLiteral("could not save sync state: ") + *result->failure);
        failed();
    });
}

} // namespace teskal
