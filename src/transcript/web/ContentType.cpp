#include "ContentType.h"

#include "ShownType.h"

#include <QFileInfo>
#include <QMimeDatabase>

namespace teskal {

namespace {

const QByteArray& unknownType() {
    static const QByteArray type("application/octet-stream");
    return type;
}

/// \a type without its parameters when the page may be given it; otherwise empty.
QByteArray shownType(const QString& type) {
    const QString essence = type.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    const bool isMarkup = essence.endsWith(QLatin1String("+xml"));
    return isShownType(essence) && !isMarkup ? essence.toLatin1() : QByteArray();
}

} // namespace

QByteArray contentTypeFor(const QString& fileName) {
    const QString extension = QFileInfo(fileName).suffix().toLower();
    if (extension == QLatin1String("js") || extension == QLatin1String("mjs"))
        return "text/javascript";
    const QList<QMimeType> types = QMimeDatabase().mimeTypesForFileName(fileName);
    return types.isEmpty() ? unknownType() : types.first().name().toLatin1();
}

QByteArray storedFileType(const QString& recordedType, const QString& fileName) {
    for (const QString& type : {recordedType, QString::fromLatin1(contentTypeFor(fileName))})
        if (const QByteArray shown = shownType(type); !shown.isEmpty())
            return shown;
    return unknownType();
}

} // namespace teskal
