#pragma once

#include <QByteArray>
#include <QString>

namespace teskal {

/// MIME type for a file name: "text/javascript" for js and mjs, else what the system's table says, else
/// "application/octet-stream".
QByteArray contentTypeFor(const QString& fileName);

/// MIME type for a stored file of the name \a fileName: \a recordedType where that is an image, audio, video
/// or PDF type, else what the name says. Whatever could run script (HTML, SVG) or is text is
/// "application/octet-stream".
QByteArray storedFileType(const QString& recordedType, const QString& fileName);

} // namespace teskal
