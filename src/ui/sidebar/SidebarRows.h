#pragma once

#include <QAbstractItemModel>
#include <QList>

namespace teskal {

/// What a row of the sidebar is.
enum class SidebarKind {
    Folder,     ///< top level; its chats are under it
    DateGroup,  ///< top level; a heading with the chats of that time under it
    Chat,       ///< in a folder or a date group
    FolderHint, ///< the one row of an empty folder
};

/// What the sidebar reads besides Qt::DisplayRole, the text of the row, and Qt::EditRole, the name to be
/// changed.
enum SidebarRole : int {
    SidebarKindRole = Qt::UserRole + 1, ///< int, a SidebarKind
    SidebarIdRole,                      ///< QString, of a chat or folder
    SidebarAnsweringRole,               ///< bool, of a chat: an answer is being produced
    SidebarCountRole,                   ///< int, of a folder: how many chats are shown in it
    SidebarOpenRole,                    ///< bool: what is under the row is to be seen
};

/// The rows of the sidebar, as its views need to know them.
class SidebarRows : public QAbstractItemModel {
    Q_OBJECT

public:
    struct FolderName {
        QString id;
        QString name;
    };

    using QAbstractItemModel::QAbstractItemModel;

    /// The row of the chat; invalid when it is not shown.
    [[nodiscard]] virtual QModelIndex chatIndex(const QString& chatId) const = 0;
    /// All folders, shown or not, in their order.
    [[nodiscard]] virtual QList<FolderName> folderNames() const = 0;
    /// The folder that the chat is filed in; empty when it is in none.
    [[nodiscard]] virtual QString folderOf(const QString& chatId) const = 0;
};

inline SidebarKind sidebarKind(const QModelIndex& index) {
    return SidebarKind(index.data(SidebarKindRole).toInt());
}

inline QString sidebarId(const QModelIndex& index) {
    return index.data(SidebarIdRole).toString();
}

inline bool isChat(const QModelIndex& index) {
    return index.isValid() && sidebarKind(index) == SidebarKind::Chat;
}

inline bool isFolder(const QModelIndex& index) {
    return index.isValid() && sidebarKind(index) == SidebarKind::Folder;
}

} // namespace teskal
