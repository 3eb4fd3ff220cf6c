#include "WindowBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "chat/DetailView.h"
#include "composer/ComposerView.h"
#include "controls/ToastView.h"
#include "signin/SignInView.h"

#include <utility>

namespace teskal {

WindowBinding::WindowBinding(AppModel& model, MainWindow& window)
    : model_(model), window_(window), commands_(model, window), detail_(model, window.detail()),
      composer_(model, window), sheets_(model, window), dialogs_(model, window),
      sidebar_(model, window.sidebar(), window.settings()) {
    bindSession();
    bindSidebar();
    connect(&commands_, &CommandBinding::quitRequested, this, &WindowBinding::quitRequested);
    connect(&commands_, &CommandBinding::settingsRequested, this, &WindowBinding::settingsRequested);
    showPage();
}

void WindowBinding::bindSession() {
    const Auth& auth = model_.auth();
    connect(&auth, &Auth::isLoadingChanged, this, &WindowBinding::showPage);
    connect(&auth, &Auth::isSignedInChanged, this, &WindowBinding::showPage);
    connect(&model_, &AppModel::toastChanged, this, [this] { window_.toast().setText(model_.toast()); });
}

/// To the view, which most starts do without.
void WindowBinding::bindSignIn() {
    if (std::exchange(signInBound_, true))
        return;
    SignInView& view = window_.signIn();
    const Auth& auth = model_.auth();
    const auto showSigningIn = [&view, &auth] { view.setSigningIn(auth.isSigningIn()); };
    const auto showError = [&view, &auth] { view.setError(auth.lastError().value_or(QString())); };
    connect(&auth, &Auth::isSigningInChanged, &view, showSigningIn);
    connect(&auth, &Auth::lastErrorChanged, &view, showError);
    connect(&view, &SignInView::signInRequested, this, [this] { model_.signIn(); });
    showSigningIn();
    showError();
}

void WindowBinding::bindSidebar() {
    connect(&sidebar_, &SidebarBinding::chatOpened, this,
            [this] { window_.detail().composer().focusText(); });
    connect(&sidebar_, &SidebarBinding::deleteChatsRequested, &dialogs_, &DialogBinding::askToDelete);
    connect(&sidebar_, &SidebarBinding::privacyRequested, this,
            [this] { Q_EMIT settingsRequested(QStringLiteral("privacy")); });
}

void WindowBinding::showPage() {
    // A session known from last time is shown at once; the plain surface only while nothing is known.
    if (model_.auth().isSignedIn()) {
        window_.setPage(MainWindow::Page::Chats);
    } else if (model_.auth().isLoading()) {
        window_.setPage(MainWindow::Page::Loading);
    } else {
        bindSignIn();
        window_.setPage(MainWindow::Page::SignIn);
    }
}

} // namespace teskal
