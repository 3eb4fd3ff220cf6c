#include "Attachments.h"

#include "Cancelled.h"
#include "DataUrl.h"
#include "ImageFitting.h"
#include "ImageReading.h"
#include "RegularFile.h"

#include <QFile>
#include <QMimeDatabase>
#include <QUrl>

#include <algorithm>

namespace teskal {

namespace {

/// What is decoded to be converted; photos have 12 to 108 million.
constexpr qint64 mostPixels = 128'000'000;

constexpr QLatin1String pdfType("application/pdf");

QStringList acceptedTypes() {
    return {QStringLiteral("image/png"), QStringLiteral("image/jpeg"), QStringLiteral("image/webp"),
            QStringLiteral("image/gif"), pdfType};
}

bool isImage(const QString& type) {
    return type.startsWith(QLatin1String("image/"));
}

/// The MIME type that the extension of \a name stands for.
QString typeOf(const QString& name) {
    return QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name();
}

QString withoutExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.first(dot) : name;
}

void checkStop(const std::stop_token& stop) {
    if (stop.stop_requested())
        throw Cancelled();
}

/// The rest of \a file when that is no more than the limit; it may have grown since its size was asked for.
std::optional<QByteArray> readWithinLimit(QFile& file) {
    if (file.size() > Attachments::sizeLimit)
        return std::nullopt;
    QByteArray bytes(qsizetype(file.size()) + 1, Qt::Uninitialized);
    qsizetype size = 0;
    while (const qint64 read = file.read(bytes.data() + size, bytes.size() - size)) {
        if (read < 0)
            return QByteArray();
        size += qsizetype(read);
        if (size == bytes.size())
            bytes.resize(std::min<qsizetype>(2 * size, Attachments::sizeLimit + 1));
        if (size > Attachments::sizeLimit)
            return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

Attachment attachment(const QString& name, const QString& type, QByteArrayView bytes) {
    Attachment made;
    made.name = name;
    made.mediaType = type;
    made.dataUrl = dataUrlOf(type, bytes);
    return made;
}

} // namespace

Attachment Attachments::load(const QUrl& url, const std::stop_token& stop) {
    checkStop(stop);
    const QString name = nameOf(url);
    const std::unique_ptr<QFile> file = openRegularFile(url.toLocalFile());
    if (!file)
        throw AttachmentError::unreadable(name);
    const QString type = typeOf(name);
    if (acceptedTypes().contains(type)) {
        const std::optional<QByteArray> bytes = readWithinLimit(*file);
        if (bytes && bytes->isEmpty())
            throw AttachmentError::unreadable(name);
        if (bytes)
            return attachment(name, type, *bytes);
        file->seek(0);
    }
    checkStop(stop);
    if (isImage(type))
        if (const std::optional<QImage> image = readImage(*file, mostPixels))
            return from(*image, name, stop);
    throw type == pdfType ? AttachmentError::tooLarge(name) : AttachmentError::unsupported(name);
}

Attachment Attachments::from(const QImage& image, const QString& name, const std::stop_token& stop) {
    checkStop(stop);
    if (image.isNull())
        throw AttachmentError::unreadable(name);
    const std::optional<ImageFile> file = fitImage(image, sizeLimit, stop);
    checkStop(stop);
    if (!file)
        throw AttachmentError::tooLarge(name);
    return attachment(withoutExtension(name) + QLatin1Char('.') + file->extension, file->mediaType,
                      file->bytes);
}

QString Attachments::nameOf(const QUrl& url) {
    return url.adjusted(QUrl::StripTrailingSlash).fileName();
}

QStringList Attachments::pickerTypes() {
    QStringList types =
        acceptedTypes() + QStringList{QStringLiteral("image/heif"), QStringLiteral("image/tiff")};
    QStringList others;
    for (const QMimeType& type : QMimeDatabase().allMimeTypes())
        if (isImage(type.name()) && !types.contains(type.name()))
            others.append(type.name());
    others.sort();
    return types + others;
}

QStringList Attachments::pickerPatterns() {
    const QMimeDatabase database;
    QStringList patterns;
    for (const QString& type : pickerTypes())
        patterns += database.mimeTypeForName(type).globPatterns();
    patterns.removeDuplicates();
    return patterns;
}

} // namespace teskal
