#include "RendererFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>

namespace teskal {

namespace {

/// The canonical path of \a urlPath below \a root; none when there is no such file inside.
std::optional<QString> resolved(const QString& root, const QString& urlPath) {
    QString relative = urlPath;
    while (relative.startsWith(QLatin1Char('/')))
        relative.remove(0, 1);
    if (relative.isEmpty())
        relative = QStringLiteral("index.html");
    const QString path = QFileInfo(root + QLatin1Char('/') + relative).canonicalFilePath();
    if (path.startsWith(root + QLatin1Char('/')))
        return path;
    return std::nullopt;
}

} // namespace

RendererFiles::RendererFiles(const std::optional<QString>& root) {
    const QString canonical = root ? QFileInfo(*root).canonicalFilePath() : QString();
    if (!canonical.isEmpty())
        root_ = canonical;
}

SchemeAnswer RendererFiles::answer(const QString& urlPath) const {
    const auto path = root_ ? resolved(*root_, urlPath) : std::nullopt;
    QFile file(path.value_or(QString()));
    if (!path || !file.open(QIODevice::ReadOnly))
        return {};
    return {200, contentTypeFor(*path), file.readAll()};
}

QByteArray contentTypeFor(const QString& fileName) {
    const QString extension = QFileInfo(fileName).suffix().toLower();
    if (extension == QLatin1String("js") || extension == QLatin1String("mjs"))
        return "text/javascript";
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    return type.isValid() ? type.name().toLatin1() : QByteArray("application/octet-stream");
}

} // namespace teskal
