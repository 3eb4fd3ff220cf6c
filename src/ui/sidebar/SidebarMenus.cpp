#include "SidebarMenus.h"

#include "SidebarRows.h"
#include "SidebarTree.h"

#include <QMenu>

#include <algorithm>

namespace teskal {

namespace {

/// In a menu an ampersand would underline what comes after it.
QString plain(QString text) {
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

SidebarMenus::SidebarMenus(SidebarTree& tree) : QObject(&tree), tree_(tree) {
    connect(&tree, &SidebarTree::chatMenuRequested, this, &SidebarMenus::openChatMenu);
    connect(&tree, &SidebarTree::folderMenuRequested, this, &SidebarMenus::openFolderMenu);
}

QMenu* SidebarMenus::newMenu() {
    auto* menu = new QMenu(&tree_);
    menu->setObjectName(QStringLiteral("sidebarMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu, &QMenu::aboutToHide, &tree_, [this] { tree_.setMenuRow({}); });
    return menu;
}

void SidebarMenus::openChatMenu(const QStringList& ids, const QPoint& place) {
    QMenu* menu = newMenu();
    if (ids.size() == 1) {
        const QString& id = ids.constFirst();
        connect(menu->addAction(tr("Rename…")), &QAction::triggered, this,
                [this, id] { Q_EMIT renameChatRequested(id); });
        connect(menu->addAction(tr("Copy Transcript")), &QAction::triggered, this,
                [this, id] { Q_EMIT copyTranscriptRequested(id); });
        menu->addSeparator();
    }
    addFiling(*menu, ids);
    menu->addSeparator();
    connect(
        menu->addAction(ids.size() == 1 ? tr("Delete…") : tr("Delete %n Chats…", nullptr, int(ids.size()))),
        &QAction::triggered, this, [this, ids] { Q_EMIT deleteChatsRequested(ids); });
    menu->popup(place);
}

void SidebarMenus::addFiling(QMenu& menu, const QStringList& ids) {
    const SidebarRows& rows = *tree_.rows();
    QMenu* folders = menu.addMenu(tr("Move to Folder"));
    const auto isIn = [&rows](const QString& folder) {
        return [&rows, folder](const QString& chat) { return rows.folderOf(chat) == folder; };
    };
    for (const SidebarRows::FolderName& folder : rows.folderNames()) {
        QAction* item = folders->addAction(plain(folder.name));
        item->setEnabled(!std::all_of(ids.begin(), ids.end(), isIn(folder.id)));
        connect(item, &QAction::triggered, this,
                [this, ids, id = folder.id] { Q_EMIT filingRequested(ids, id); });
    }
    if (ids.size() == 1) {
        if (!folders->isEmpty())
            folders->addSeparator();
        connect(folders->addAction(tr("New Folder…")), &QAction::triggered, this,
                [this, id = ids.constFirst()] { Q_EMIT newFolderRequested(id); });
    }
    folders->setEnabled(!folders->isEmpty());
    if (std::all_of(ids.begin(), ids.end(), isIn(QString())))
        return;
    connect(menu.addAction(tr("Remove from Folder")), &QAction::triggered, this,
            [this, ids] { Q_EMIT filingRequested(ids, std::nullopt); });
}

void SidebarMenus::openFolderMenu(const QString& id, const QPoint& place) {
    QMenu* menu = newMenu();
    connect(menu->addAction(tr("Rename Folder…")), &QAction::triggered, this,
            [this, id] { Q_EMIT renameFolderRequested(id); });
    menu->addSeparator();
    connect(menu->addAction(tr("Delete Folder…")), &QAction::triggered, this,
            [this, id] { Q_EMIT deleteFolderRequested(id); });
    menu->popup(place);
}

} // namespace teskal
