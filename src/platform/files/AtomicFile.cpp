#include "AtomicFile.h"

#include "Log.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace teskal {

namespace {

constexpr auto privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr auto privateFolder = privateFile | QFileDevice::ExeOwner;

void makePrivateFolder(const QString& path) {
    if (QDir(path).exists())
        return;
    if (!QDir().mkpath(path))
        throw FileError(QStringLiteral("the folder cannot be made"));
    QFile::setPermissions(path, privateFolder);
}

} // namespace

void writeFileAtomically(const QString& path, QByteArrayView bytes) {
    makePrivateFolder(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    // Writing in place of a file that cannot be replaced would risk the old content.
    file.setDirectWriteFallback(false);
    const bool written = file.open(QIODevice::WriteOnly) && file.setPermissions(privateFile) &&
                         file.write(bytes.data(), bytes.size()) == bytes.size() && file.commit();
    if (!written)
        throw FileError(file.errorString());
}

void setDamagedFileAside(const QString& path, double nowMs) {
    const QString stamp = QDateTime::fromMSecsSinceEpoch(qint64(nowMs), Qt::UTC)
                              .toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QString copy = path + QStringLiteral(".damaged-") + stamp;
    if (QFile::copy(path, copy))
        logLine(QStringLiteral("a file could not be read; a copy is kept as %1").arg(QFileInfo(copy).fileName()));
    else
        logLine(QStringLiteral("a file could not be read, and no copy could be made of it"));
}

} // namespace teskal
