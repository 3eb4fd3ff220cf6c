#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// What a request under the private scheme is answered with.
struct SchemeAnswer {
    int status = 404;
    QByteArray contentType;
    QByteArray body;
};

/// The page's own files, below one folder.
class RendererFiles {
public:
    /// \a root is none when the application's resources lack the folder.
    explicit RendererFiles(const std::optional<QString>& root);

    bool exists() const { return root_.has_value(); }
    /// The file at \a urlPath ("" and "/" mean index.html). Status 404 without a body when it is missing,
    /// cannot be read, or lies outside the folder, links followed.
    SchemeAnswer answer(const QString& urlPath) const;

private:
    std::optional<QString> root_;
};

/// MIME type for a file name: "text/javascript" for js and mjs, else what the system's table says, else
/// "application/octet-stream".
QByteArray contentTypeFor(const QString& fileName);

} // namespace teskal
