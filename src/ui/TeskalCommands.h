#pragma once

#include "EditAction.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace teskal {

/// What the menus need to know to enable their items.
struct CommandState {
    bool signedIn = false;
    bool chatSelected = false;
    bool chatExists = false;   ///< the selected chat is there
    bool hasMessages = false;  ///< the transcript is shown
    bool busy = false;         ///< the selected chat's answer is running
    bool endsInAnswer = false; ///< the selected chat's last message is an assistant's
};

/// The menu bar's commands with their shortcuts. Emits what the user wants; does nothing by itself but the
/// Edit commands, which go to whatever has the focus.
class TeskalCommands : public QObject {
    Q_OBJECT

public:
    /// Fills \a menuBar, which owns the menus.
    explicit TeskalCommands(QMenuBar& menuBar);

    void setState(const CommandState& state);

    /// What the items for the window itself would do now.
    void setSidebarShown(bool shown);
    void setFullScreen(bool full);

    /// Edit commands while the focus is in \a area or inside it, which only shows, go to \a perform.
    void setEditArea(QWidget* area, std::function<void(EditAction)> perform);

Q_SIGNALS:
    void newChatRequested();
    void newPrivateChatRequested();
    void newFolderRequested();
    void quitRequested();
    void settingsRequested();
    void searchRequested();
    void sidebarToggled();
    void zoomInRequested();
    void zoomOutRequested();
    void zoomResetRequested();
    void fullScreenToggled();
    void renameChatRequested();
    void deleteChatRequested();
    void attachRequested();
    void stopRequested();
    void askAgainRequested();
    void copyLastAnswerRequested();
    void findRequested();
    void findNextRequested();
    void findPreviousRequested();
    void scrollToEndRequested();
    void signInRequested();
    void creditsRequested();
    void keysRequested();
    void routesRequested();
    void privacyRequested();
    void minimizeRequested();
    void closeRequested();
    void signOutRequested();
    /// A page of the service's web site is wanted; \a path begins with "/".
    void helpRequested(const QString& path);

private:
    struct EditItem {
        EditAction action;
        QAction* item;
    };

    QAction* add(QMenu& menu, const QString& title, const QKeySequence& shortcut,
                 void (TeskalCommands::*signal)());
    void fillFile(QMenu& menu);
    void fillEdit(QMenu& menu);
    void fillFind(QMenu& menu);
    void fillView(QMenu& menu);
    void fillChat(QMenu& menu);
    void fillAccount(QMenu& menu);
    void fillWindow(QMenu& menu);
    void fillHelp(QMenu& menu);
    void edit(EditAction action);
    void enableEditItems(bool byFocus);
    [[nodiscard]] bool focusIsInEditArea() const;

    std::vector<EditItem> editItems_;
    /// They make sense only while the transcript is shown.
    std::vector<QAction*> transcriptItems_;
    std::vector<QAction*> signedInItems_;
    /// Of the chat that is open.
    std::vector<QAction*> chatItems_;
    /// Shown to those who are signed in.
    std::vector<QAction*> accountItems_;
    QAction* sidebar_ = nullptr;
    QAction* fullScreen_ = nullptr;
    QAction* stop_ = nullptr;
    QAction* askAgain_ = nullptr;
    QAction* copyLast_ = nullptr;
    QAction* signIn_ = nullptr;
    QPointer<QWidget> focus_;
    QPointer<QWidget> editArea_;
    std::function<void(EditAction)> performInArea_;
};

} // namespace teskal
