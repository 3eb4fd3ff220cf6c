#pragma once

#include <QString>

namespace teskal::FileManager {

/// Shows \a folder, selected, in the desktop's file manager; where there is none to ask, opens the folder
/// with the application that the desktop has for it. Returns at once. Main thread only.
/// Source: the D-Bus interface org.freedesktop.FileManager1.
void reveal(const QString& folder);

} // namespace teskal::FileManager
