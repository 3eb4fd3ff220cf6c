#pragma once

#include <QString>

namespace teskal {

/// What a user typed, as a folder's name: without surrounding white space and line breaks, and cut to its
/// first 60 characters as people count them. Empty when nothing is left.
QString cleanFolderName(const QString& typed);

} // namespace teskal
