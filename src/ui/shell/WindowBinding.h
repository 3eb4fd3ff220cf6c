#pragma once

#include "ChatListModel.h"
#include "ComposerBinding.h"
#include "SheetBinding.h"

#include <QObject>

namespace teskal {

class AppModel;
class MainWindow;

/// Ties the window's views to the application model: fills them with its state and turns what the user does
/// in them into its operations.
class WindowBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    WindowBinding(AppModel& model, MainWindow& window);

Q_SIGNALS:
    void quitRequested();

private:
    void bindSession();
    void bindSidebar();
    void bindDetail();
    void bindCommands();
    void showPage();
    void showAccount();
    void showChat();
    void showCommandState();

    AppModel& model_;
    MainWindow& window_;
    ChatListModel chats_;
    SheetBinding sheets_;
    ComposerBinding composer_;
};

} // namespace teskal
