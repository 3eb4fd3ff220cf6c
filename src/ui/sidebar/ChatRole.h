#pragma once

#include <Qt>

namespace teskal {

/// What the sidebar reads from a model of chats besides Qt::DisplayRole, the title.
enum ChatRole : int {
    ChatIdRole = Qt::UserRole + 1, ///< QString
    ChatAnsweringRole,             ///< bool: an answer is being produced
};

} // namespace teskal
