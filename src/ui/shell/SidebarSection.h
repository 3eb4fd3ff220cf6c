#pragma once

#include "sidebar/SidebarRows.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace teskal {

/// A folder or a date group with the chats that are shown in it.
struct SidebarSection {
    SidebarKind kind;  ///< Folder or DateGroup
    QString id;        ///< of the folder
    QString title;     ///< of a date group, tells it apart
    double begin = 0;  ///< of a date group: the earliest time in it
    QStringList chats; ///< newest first
    bool hint = false; ///< an empty folder's row stands in for the chats
    int row = 0;

    [[nodiscard]] bool isFolder() const { return kind == SidebarKind::Folder; }
    [[nodiscard]] int rowCount() const { return hint ? 1 : int(chats.size()); }
};

/// Folders first, then date groups, newest first.
using SidebarSections = std::vector<std::unique_ptr<SidebarSection>>;

} // namespace teskal
