#include "FolderFile.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "JsonError.h"

#include <QFile>
#include <QFileInfo>

namespace teskal {

FolderFile::FolderFile(const QString& folder, const QString& owner)
    : path_(folder + QLatin1Char('/') + accountFileName(owner) + QStringLiteral(".folders.json")) {}

FolderDocument FolderFile::read() {
    removeLeftovers(path_);
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) {
        damaged_ = file.exists(); // unreadable, but not ours to throw away
        return {};
    }
    try {
        return decodeFolderDocument(file.readAll());
    } catch (const JsonError&) {
        damaged_ = true;
        return {};
    }
}

std::optional<QString> FolderFile::keepDamaged(double nowMs) {
    if (!damaged_ || !QFileInfo::exists(path_)) // somebody may have taken it away meanwhile
        return std::nullopt;
    const QString kept = keepDamagedFile(path_, nowMs);
    damaged_ = false;
    return kept;
}

void FolderFile::write(const FolderDocument& document) {
    writeFileAtomically(path_, encodeFolderDocument(document));
    damaged_ = false;
}

} // namespace teskal
