#include "StoredFileResponse.h"

#include "ByteRange.h"
#include "ContentType.h"

#include <QFile>
#include <QFileInfo>

namespace teskal {

namespace {

/// All of \a file; none when it cannot be read.
std::optional<SchemeBody> wholeBody(const PageFile& file) {
    SchemeBody body;
    if (file.isInMemory()) {
        body.bytes = file.bytes;
        body.count = file.bytes.size();
        return body;
    }
    QFile onDisk(file.path);
    if (!QFileInfo(file.path).isFile() || !onDisk.open(QIODevice::ReadOnly))
        return std::nullopt;
    body.path = file.path;
    body.count = onDisk.size();
    return body;
}

} // namespace

SchemeResponse storedFileResponse(const PageFile& file, const QString& id, QByteArrayView wanted) {
    SchemeResponse response;
    const auto whole = wholeBody(file);
    if (!whole)
        return response;
    response.status = 200;
    response.body = *whole;
    response.headers = {{"Content-Type", storedFileType(file.mediaType, id)}};
    if (const auto part = range(wanted, whole->count)) {
        response.status = 206;
        response.body.first = part->first;
        response.body.count = part->count();
        response.headers.append({"Content-Range", "bytes " + QByteArray::number(part->first) + '-' +
                                                      QByteArray::number(part->last) + '/' +
                                                      QByteArray::number(whole->count)});
    }
    response.headers.append({{"Content-Length", QByteArray::number(response.body.count)},
                             {"Accept-Ranges", "bytes"},
                             {"Cache-Control", "no-cache"}});
    return response;
}

} // namespace teskal
