#pragma once

#include <QObject>

namespace teskal {

class AppModel;
class MainWindow;
class TeskalCommands;

/// Ties the menu's commands to the application model, and enables them as its state allows. What shows
/// something in the main window opens it first.
class CommandBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    CommandBinding(AppModel& model, MainWindow& window);

Q_SIGNALS:
    void quitRequested();
    /// The settings are wanted, on the tab \a tab, or the one of last time when it is empty.
    void settingsRequested(const QString& tab);

private:
    void bindChats();
    void bindChat();
    void bindTranscript();
    void bindAccount();
    void endSignIn();
    void showState();
    /// Has \a signal do \a action in a window that is open.
    template<typename Action>
    void inWindow(void (TeskalCommands::*signal)(), Action action);

    AppModel& model_;
    MainWindow& window_;
    TeskalCommands& commands_;
    bool signingIn_ = false; ///< begun by the command
};

} // namespace teskal
