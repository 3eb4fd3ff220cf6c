#include "AtomicFile.h"

#include "FileSnapshot.h"
#include "Log.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace teskal {

namespace {

constexpr auto privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr auto privateFolder = privateFile | QFileDevice::ExeOwner;
/// What is copied, or handed to the disk, at a time, in bytes: small enough for the processor's cache.
constexpr qint64 pieceSize = 1 << 20;

/// A rename is durable only once the folder that holds the name is.
void syncFolder(const QString& path) {
    const int folder = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return; // some file systems offer no such thing, and the file itself is in its place
    ::fsync(folder);
    ::close(folder);
}

QString folderOf(const QString& path) {
    return QFileInfo(path).absolutePath();
}

QString damagedName(const QString& path, double nowMs) {
    const QString stamp = QDateTime::fromMSecsSinceEpoch(qint64(nowMs), Qt::UTC)
                              .toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    return path + QStringLiteral(".damaged-") + stamp;
}

} // namespace

void makePrivateFolder(const QString& path) {
    if (QDir(path).exists())
        return;
    makePrivateFolder(QFileInfo(path).absolutePath());
    // Another process may have been quicker.
    if (!QDir().mkdir(path, privateFolder) && !QDir(path).exists())
        throw FileError(QStringLiteral("the folder cannot be made"));
}

AtomicFile::AtomicFile(const QString& path) : file_(path) {
    makePrivateFolder(folderOf(path));
    // Writing in place of a file that cannot be replaced would risk the old content.
    file_.setDirectWriteFallback(false);
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || !file_.setPermissions(privateFile))
        throw FileError(file_.errorString());
}

void AtomicFile::write(QByteArrayView bytes) {
    if (file_.write(bytes.data(), bytes.size()) != bytes.size())
        throw FileError(file_.errorString());
    size_ += bytes.size();
    startWriteback();
}

void AtomicFile::copy(const FileSnapshot& source, qint64 begin, qint64 size) {
    QByteArray piece(std::min(size, pieceSize), Qt::Uninitialized);
    while (size > 0) {
        const qint64 count = std::min(size, pieceSize);
        source.read(begin, piece.data(), count);
        write(QByteArrayView(piece.constData(), count));
        begin += count;
        size -= count;
    }
}

/// The disk begins while the rest is still being made; the sync at the end waits for less.
void AtomicFile::startWriteback() {
#if defined(__linux__)
    if (size_ - handedOver_ < pieceSize)
        return;
    ::sync_file_range(file_.handle(), handedOver_, size_ - handedOver_, SYNC_FILE_RANGE_WRITE);
    handedOver_ = size_;
#endif
}

void AtomicFile::commit() {
    // A disk may take the bytes and say only now that it has no room for them; some files cannot be synced.
    if (::fsync(file_.handle()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        const QString why = qt_error_string(errno);
        file_.cancelWriting();
        throw FileError(why);
    }
    if (!file_.commit())
        throw FileError(file_.errorString());
    syncFolder(folderOf(file_.fileName()));
}

void writeFileAtomically(const QString& path, QByteArrayView bytes) {
    AtomicFile file(path);
    file.write(bytes);
    file.commit();
}

void removeLeftovers(const QString& path) {
    // The names that QSaveFile gives to what is not committed yet.
    const QFileInfo info(path);
    static const QRegularExpression ending(QStringLiteral("^\\.[A-Za-z]{6}$"));
    QDir folder(info.absolutePath());
    for (const QString& name : folder.entryList({info.fileName() + QStringLiteral(".??????")}, QDir::Files))
        if (ending.match(name.mid(info.fileName().size())).hasMatch())
            folder.remove(name);
}

QString keepDamagedFile(const QString& path, double nowMs) {
    const QString aside = damagedName(path, nowMs);
    // A second name needs no room and is there at once; what cannot be read cannot be copied, but it can be
    // moved.
    const bool linked =
        ::link(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) == 0;
    if (!linked && !QFile::copy(path, aside) && !QFile::rename(path, aside))
        throw FileError(QStringLiteral("the damaged file cannot be kept aside"));
    return QFileInfo(aside).fileName();
}

void setDamagedFileAside(const QString& path, double nowMs) {
    logDamagedFile(keepDamagedFile(path, nowMs));
}

void logDamagedFile(const QString& name) {
    logLine(QStringLiteral("a file could not be read; it is kept as %1").arg(name));
}

} // namespace teskal
