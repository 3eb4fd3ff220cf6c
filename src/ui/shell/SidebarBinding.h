#pragma once

#include "ChatSearch.h"
#include "ProfilePicture.h"
#include "SidebarModel.h"

#include <QObject>

class QSettings;

namespace teskal {

class AppModel;
class SidebarView;

/// Ties the sidebar to the application model: fills it and turns what the user does in it into operations and
/// questions of the model.
class SidebarBinding final : public QObject {
    Q_OBJECT

public:
    /// \a settings keeps which folders are closed. All must outlive the binding.
    SidebarBinding(AppModel& model, SidebarView& sidebar, QSettings& settings);

Q_SIGNALS:
    /// The privacy and models pane of the settings is wanted.
    void privacyRequested();
    /// Several chats are to be deleted if the user confirms it.
    void deleteChatsRequested(const QStringList& ids);
    /// The user wants to go on in the selected chat.
    void chatOpened();

private:
    void bindRows();
    void bindSearch();
    void bindList();
    void bindMenus();
    void bindAccount();
    void showAccount();
    void showHint();
    void loadCollapsed();
    void storeCollapsed();
    void askToDelete(const QStringList& ids);
    void askToDeleteFolder(const QString& id);
    void askForFolderName(const QString& id);
    void file(const QStringList& chatIds, const std::optional<QString>& folderId);
    void copyTranscript(const QString& id);

    AppModel& model_;
    SidebarView& sidebar_;
    QSettings& settings_;
    ChatSearch search_;
    SidebarModel rows_;
    ProfilePicture picture_;
};

} // namespace teskal
