#include "MediaSaver.h"

#include "Cancelled.h"
#include "DataUrl.h"

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
    if (media.type == QLatin1String("video"))
        return {QStringLiteral("video"), QStringLiteral("mp4")};
    if (media.type == QLatin1String("music"))
        return {QStringLiteral("song"), QStringLiteral("mp3")};
    return {QStringLiteral("image"), QStringLiteral("png")};
}

bool isInline(const Media& media) {
    return media.url && isDataUrl(*media.url);
}

/// Empty when the type of \a media is unknown, or that of no media.
QString impliedExtension(const Media& media) {
    const QString inlineType = isInline(media) ? dataUrlType(*media.url) : QString();
    const QMimeType type = QMimeDatabase().mimeTypeForName(media.mediaType.value_or(inlineType));
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

Completion<bool> runOn(SerialWorker& worker, std::function<bool()> work) {
    const auto ended = std::make_shared<CompletionSource<bool>>();
    const auto outcome = std::make_shared<bool>(false);
    worker.run([work = std::move(work), outcome] { *outcome = work(); },
               [ended, outcome] { ended->succeed(*outcome); });
    return ended->completion();
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

void MediaSaver::save(const Media& media, FileCache::Keep keep) {
    if (asking_ || !panel_)
        return;
    if (!isInline(media) && !media.fileId) {
        Q_EMIT notice(failureText());
        return;
    }
    scope_.launch([&](std::stop_token stop) { return askAndSave(media, keep, std::move(stop)); });
}

QCoro::Task<void> MediaSaver::askAndSave(Media media, FileCache::Keep keep, std::stop_token stop) {
    std::optional<QString> path;
    {
        asking_ = true;
        const auto asked = qScopeGuard([this] { asking_ = false; });
        const auto choice = panel_(suggestedName(media));
        path = co_await choice.wait(stop);
    }
    if (!path)
        co_return;
    bool saved = false;
    try {
        auto copying = copyTo(*path, media, keep, stop);
        saved = co_await copying;
    } catch (const Error&) {
        // The file cannot be had; which is all that the user can use.
    }
    Q_EMIT notice(saved ? tr("Saved") : failureText());
}

QCoro::Task<bool> MediaSaver::copyTo(QString path, Media media, FileCache::Keep keep, std::stop_token stop) {
    std::function<bool()> write;
    if (isInline(media)) {
        write = [url = *media.url, path] { return writeInline(url, path); };
    } else {
        auto fetching = files_.local(*media.fileId, stop, keep);
        const CachedFile file = co_await fetching;
        write = [file, path] { return writeCopy(file, path); };
    }
    const auto written = runOn(worker_, write);
    const bool saved = co_await written.wait(stop);
    co_return saved;
}

} // namespace teskal
