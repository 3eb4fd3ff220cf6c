#include "RendererFiles.h"

#include "ContentType.h"

#include <QFile>
#include <QFileInfo>

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
    if (!root_)
        return SchemeFailure::FileDoesNotExist;
    const auto path = resolved(*root_, urlPath);
    QFile file(path.value_or(QString()));
    if (!path || !file.open(QIODevice::ReadOnly))
        return SchemeResponse();
    SchemeResponse response;
    response.status = 200;
    response.body.bytes = file.readAll();
    response.body.count = response.body.bytes.size();
    response.headers = {{"Content-Type", contentTypeFor(*path)},
                        {"Content-Length", QByteArray::number(response.body.count)},
                        {"Cache-Control", "no-cache"}};
    return response;
}

} // namespace teskal
