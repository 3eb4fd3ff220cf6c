#pragma once

#include "SchemeAnswer.h"

#include <QString>

#include <optional>

namespace teskal {

/// The page's own files, below one folder.
class RendererFiles {
public:
    /// \a root is none when the application's resources lack the folder.
    explicit RendererFiles(const std::optional<QString>& root);

    bool exists() const { return root_.has_value(); }
    /// The file at \a urlPath ("" and "/" mean index.html). 404 when it is missing, cannot be read, or lies
    /// outside the folder, links followed; FileDoesNotExist when there is no folder.
    SchemeAnswer answer(const QString& urlPath) const;

private:
    std::optional<QString> root_;
};

} // namespace teskal
