#pragma once

#include "EditAction.h"

#include <QMainWindow>

#include <functional>

class QSettings;
class QShortcut;
class QStackedWidget;

namespace teskal {

class CreditsSheet;
class DetailView;
class KeyedSplitter;
class SidebarView;
class SignInView;
class TeskalCommands;
class Theme;
class ToastView;

/// The one window: a plain surface while the session is being checked, the sign-in screen when nobody is
/// signed in, otherwise the sidebar beside the open chat, which has a narrow window to itself. It holds no
/// state of the application; whoever owns it fills the views and follows their signals.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    enum class Page { Loading, SignIn, Chats };

    /// \a settings keeps the window's geometry and must outlive it, as \a theme must.
    MainWindow(const Theme& theme, QSettings& settings, QWidget* parent = nullptr);
    ~MainWindow() override;

    void setPage(Page page);
    [[nodiscard]] Page page() const;
    /// Shows the window in front of the others, ready to be typed into.
    void present();
    /// Gives the keyboard to what is most likely wanted.
    void focusPage();
    /// Brings the keyboard to the search of chats, and the sidebar with it.
    void openSearch();

    [[nodiscard]] const Theme& theme() const { return theme_; }
    [[nodiscard]] TeskalCommands& commands() { return *commands_; }
    /// Made when it is first asked for.
    [[nodiscard]] SignInView& signIn();
    /// What the window was made with.
    [[nodiscard]] QSettings& settings() { return settings_; }
    [[nodiscard]] SidebarView& sidebar() { return *sidebar_; }
    [[nodiscard]] DetailView& detail() { return *detail_; }
    [[nodiscard]] ToastView& toast() { return *toast_; }
    /// Made when it is first asked for.
    [[nodiscard]] CreditsSheet& credits();

    /// The transcript has the whole screen to itself, until this is called again or the user leaves it.
    void setTranscriptAlone(bool alone);

    /// Takes the widget that shows the messages; Edit commands go to \a edit while it has the focus.
    void setTranscript(QWidget* transcript, std::function<void(EditAction)> edit);

Q_SIGNALS:
    /// The user does not want the transcript alone any more.
    void transcriptAloneLeft();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void fillPages();
    void bindCommands();
    void restoreLayout();
    void saveLayout();
    void toggleSidebar();
    void foldSidebar();
    void placeToast();
    void leaveTranscriptAlone();

    const Theme& theme_;
    QSettings& settings_;
    TeskalCommands* commands_;
    QStackedWidget* pages_;
    QWidget* loading_;
    SignInView* signIn_ = nullptr;
    KeyedSplitter* split_;
    SidebarView* sidebar_;
    DetailView* detail_;
    ToastView* toast_;
    CreditsSheet* credits_ = nullptr;
    QShortcut* leave_;
    bool transcriptAlone_ = false;
    bool fullScreenBefore_ = false; ///< before the transcript was alone
    bool narrow_ = false;
    /// Whether the user wants the sidebar where there is room for it; and, which is soon forgotten, where
    /// there is hardly any.
    bool sidebarWanted_ = true;
    bool sidebarOverNarrow_ = false;
};

} // namespace teskal
