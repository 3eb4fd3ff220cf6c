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
    makePrivateFolder(QFileInfo(path).absolutePath());
    // Another process may have been quicker.
    if (!QDir().mkdir(path, privateFolder) && !QDir(path).exists())
        throw FileError(QStringLiteral("the folder cannot be made"));
}

QString damagedName(const QString& path, double nowMs) {
    const QString stamp = QDateTime::fromMSecsSinceEpoch(qint64(nowMs), Qt::UTC)
                              .toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    return path + QStringLiteral(".damaged-") + stamp;
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
    const QString aside = damagedName(path, nowMs);
    // What cannot be read cannot be copied, but it can be moved.
    if (!QFile::copy(path, aside) && !QFile::rename(path, aside))
        throw FileError(QStringLiteral("the damaged file cannot be kept aside"));
    logLine(QStringLiteral("a file could not be read; it is kept as %1").arg(QFileInfo(aside).fileName()));
}

} // namespace teskal
