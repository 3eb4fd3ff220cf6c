#pragma once

#include <QObject>
#include <QStringList>

#include <optional>

class QMenu;
class QPoint;

namespace teskal {

class SidebarTree;

/// The context menus of chats and folders. A menu lives as long as it is open.
class SidebarMenus : public QObject {
    Q_OBJECT

public:
    /// Opens menus over \a tree, which owns this object.
    explicit SidebarMenus(SidebarTree& tree);

Q_SIGNALS:
    void renameChatRequested(const QString& id);
    void copyTranscriptRequested(const QString& id);
    void deleteChatsRequested(const QStringList& ids);
    void filingRequested(const QStringList& chatIds, const std::optional<QString>& folderId);
    /// A new folder for this chat is wanted.
    void newFolderRequested(const QString& chatId);
    void renameFolderRequested(const QString& id);
    void deleteFolderRequested(const QString& id);

private:
    void openChatMenu(const QStringList& ids, const QPoint& place);
    void openFolderMenu(const QString& id, const QPoint& place);
    void addFiling(QMenu& menu, const QStringList& ids);
    QMenu* newMenu();

    SidebarTree& tree_;
};

} // namespace teskal
