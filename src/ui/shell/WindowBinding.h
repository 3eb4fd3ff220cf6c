#pragma once

#include "CommandBinding.h"
#include "ComposerBinding.h"
#include "DetailBinding.h"
#include "DialogBinding.h"
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
    /// The settings window is wanted, on the tab \a tab, or the one of last time when it is empty.
    void settingsRequested(const QString& tab);

private:
    void bindSession();
    void bindSignIn();
    void bindSidebar();
    void showPage();

    AppModel& model_;
    MainWindow& window_;
    CommandBinding commands_;
    DetailBinding detail_;
    ComposerBinding composer_;
    SheetBinding sheets_;
    DialogBinding dialogs_;
    SidebarBinding sidebar_;
    bool signInBound_ = false;
};

} // namespace teskal
