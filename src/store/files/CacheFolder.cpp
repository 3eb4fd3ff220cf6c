#include "CacheFolder.h"

#include "AtomicFile.h"
#include "FileMove.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace teskal {

namespace {

constexpr qint64 longestType = 255; // in bytes

QString readType(const QString& path) {
    QFile file(path);
    const QByteArray type = file.open(QFile::ReadOnly) ? file.read(longestType).trimmed() : QByteArray();
    return type.isEmpty() ? QStringLiteral("application/octet-stream") : QString::fromUtf8(type);
}

} // namespace

void CacheFolder::make() const {
    makePrivateFolder(path_);
}

std::optional<CachedFile> CacheFolder::find(const QString& id) const {
    const QString path = filePath(id);
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    CachedFile file;
    file.path = path;
    file.mediaType = readType(typePath(id));
    return file;
}

void CacheFolder::write(const QString& id, const QByteArray& bytes, const QString& mediaType) const {
    writeFileAtomically(typePath(id), mediaType.toUtf8());
    writeFileAtomically(filePath(id), bytes);
}

void CacheFolder::placePart(const QString& id, const QString& mediaType) const {
    writeFileAtomically(typePath(id), mediaType.toUtf8());
    moveFileDurably(partPath(id), filePath(id));
}

void CacheFolder::removeLeftovers() const {
    // Downloads, and the names that files have while they are written.
    const QRegularExpression ours(
        QStringLiteral(R"(^[A-Za-z0-9_-]{4,64}(\.part|\.part\.[A-Za-z]{6}|(\.type)?\.[A-Za-z]{6})$)"));
    QDir folder(path_);
    for (const QString& name : folder.entryList(QDir::Files))
        if (ours.match(name).hasMatch())
            folder.remove(name);
}

QString CacheFolder::filePath(const QString& id) const {
    return path_ + QLatin1Char('/') + id;
}

QString CacheFolder::typePath(const QString& id) const {
    return filePath(id) + QStringLiteral(".type");
}

QString CacheFolder::partPath(const QString& id) const {
    return filePath(id) + QStringLiteral(".part");
}

} // namespace teskal
