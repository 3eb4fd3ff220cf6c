#include "MediaSaver.h"

#include "Cancelled.h"
#include "DataUrl.h"
#include "RunOn.h"

#include <QFile>
#include <QMimeDatabase>
#include <QSaveFile>
#include <QScopeGuard>

namespace teskal {

namespace {

constexpr qint64 pieceSize = 1024 * 1024;

struct Kind {
    QString word;
    QString extension; ///< when the type implies none
};

Kind kindOf(const Media& media) {
    if (media.isVideo())
        return {QStringLiteral("video"), QStringLiteral("mp4")};
    if (media.isSong())
        return {QStringLiteral("song"), QStringLiteral("mp3")};
    return {QStringLiteral("image"), QStringLiteral("png")};
}

bool isInline(const Media& media) {
    return media.url && isDataUrl(*media.url);
}

/// Empty when the type of \a media is unknown, or that of no media.
QString impliedExtension(const Media& media) {
    const QString recorded = media.mediaType.value_or(isInline(media) ? dataUrlType(*media.url) : QString());
    const QString essence = recorded.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    const QMimeType type = QMimeDatabase().mimeTypeForName(essence);
    for (const char* family : {"image/", "video/", "audio/"})
        if (type.name().startsWith(QLatin1String(family)))
            return type.preferredSuffix();
    return {};
}

bool copyAll(QIODevice& from, QIODevice& to) {
    while (!from.atEnd()) {
        const QByteArray piece = from.read(pieceSize);
        if (piece.isEmpty() || to.write(piece) != piece.size())
            return false;
    }
    return true;
}

/// Puts \a file at \a path as a whole, or leaves what is there. Any thread.
bool writeCopy(const CachedFile& file, const QString& path) {
    // The user's own place: with the permissions that new files have there.
    QSaveFile target(path);
    if (!target.open(QIODevice::WriteOnly))
        return false;
    if (file.isInMemory())
        return target.write(file.bytes) == file.bytes.size() && target.commit();
    QFile source(file.path);
    return source.open(QIODevice::ReadOnly) && copyAll(source, target) && target.commit();
}

bool writeInline(const QString& dataUrl, const QString& path) {
    CachedFile file;
    const std::optional<QByteArray> bytes = dataUrlBytes(dataUrl);
    file.bytes = bytes.value_or(QByteArray());
    return bytes && writeCopy(file, path);
}

QString failureText() {
    return MediaSaver::tr("Couldn’t save that file.");
}

} // namespace

MediaSaver::MediaSaver(FileCache& files, SavePanel panel, QObject* parent)
    : QObject(parent), files_(files), panel_(std::move(panel)) {}

MediaSaver::~MediaSaver() = default;

QString MediaSaver::suggestedName(const Media& media) {
    const Kind kind = kindOf(media);
    const QString extension = impliedExtension(media);
    return QStringLiteral("Teskal %1.%2").arg(kind.word, extension.isEmpty() ? kind.extension : extension);
}

void MediaSaver::save(const Media& media, KeepRule keep) {
    if (asking_ || !panel_)
        return;
    scope_.launch([&](std::stop_token stop) { return askAndSave(media, keep, std::move(stop)); });
}

QCoro::Task<void> MediaSaver::askAndSave(Media media, KeepRule keep, std::stop_token stop) {
    std::optional<QString> path;
    {
        asking_ = true;
        const auto asked = qScopeGuard([this] { asking_ = false; });
        const auto choice = panel_(suggestedName(media), stop);
        path = co_await choice.wait(stop);
    }
    if (!path)
        co_return;
    auto copying = copyTo(*path, media, keep, stop);
    const bool saved = co_await copying;
    Q_EMIT notice(saved ? tr("Saved") : failureText());
}

QCoro::Task<bool> MediaSaver::copyTo(QString path, Media media, KeepRule keep, std::stop_token stop) {
    std::optional<CachedFile> file;
    if (media.fileId) {
        auto finding = stored(*media.fileId, keep, stop);
        file = co_await finding;
    }
    std::function<bool()> write;
    if (file)
        write = [file = *file, path] { return writeCopy(file, path); };
    else if (isInline(media))
        write = [url = *media.url, path] { return writeInline(url, path); };
    else
        co_return false;
    const auto written = runOn(worker_, write);
    const bool saved = co_await written.wait(stop);
    co_return saved;
}

QCoro::Task<std::optional<CachedFile>> MediaSaver::stored(QString id, KeepRule keep, std::stop_token stop) {
    const std::optional<FileCache::Keep> kept = keep();
    if (!kept)
        co_return std::nullopt;
    try {
        auto fetching = files_.local(id, stop, *kept);
        CachedFile file = co_await fetching;
        co_return file;
    } catch (const Cancelled&) {
        if (stop.stop_requested())
            throw;
        co_return std::nullopt; // the cache has given the file up
    } catch (const Error&) {
        co_return std::nullopt; // it cannot be had, which is all that the user can use
    }
}

} // namespace teskal
