#pragma once

#include "ComposerBinding.h"
#include "SheetBinding.h"
#include "SidebarBinding.h"

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
    void bindDetail();
    void bindCommands();
    void showPage();
    void showChat();
    void showCommandState();

    AppModel& model_;
    MainWindow& window_;
    SheetBinding sheets_;
    SidebarBinding sidebar_;
    ComposerBinding composer_;
};

} // namespace teskal
