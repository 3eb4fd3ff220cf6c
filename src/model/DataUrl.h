#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// A file that travels inside a text (RFC 2397), of which only the base64 form is known here.
struct InlineFile {
    QString mediaType; ///< MIME type without parameters
    QByteArray bytes;
    QByteArray hash; ///< SHA-256 of type and bytes
};

/// Whether \a url holds its file inline, in any form.
bool isDataUrl(const QString& url);
/// The data URL that holds \a bytes, of the MIME type \a mediaType, as base64. Any thread.
QString dataUrlOf(const QString& mediaType, QByteArrayView bytes);
/// The MIME type of a data URL, without decoding it; empty when there is none.
QString dataUrlType(const QString& url);
/// The base64 text in \a url, as long as \a url lives; none when the file is in no such form.
std::optional<QStringView> dataUrlBase64(const QString& url);
/// The bytes in \a url; none when it is not a base64 data URL or the base64 is malformed. Takes a while for a
/// large one; any thread.
std::optional<QByteArray> dataUrlBytes(const QString& url);
/// The file in \a url, as dataUrlBytes() reads it.
std::optional<InlineFile> decodedDataUrl(const QString& url);

} // namespace teskal
