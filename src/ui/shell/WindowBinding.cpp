#include "WindowBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "chat/DetailView.h"
#include "composer/ComposerView.h"
#include "controls/ToastView.h"
#include "signin/SignInView.h"

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
    connect(&auth, &Auth::isSigningInChanged, this,
            [this] { window_.signIn().setSigningIn(model_.auth().isSigningIn()); });
    connect(&auth, &Auth::lastErrorChanged, this,
            [this] { window_.signIn().setError(model_.auth().lastError().value_or(QString())); });
    connect(&window_.signIn(), &SignInView::signInRequested, this, [this] { model_.signIn(); });
    connect(&model_, &AppModel::toastChanged, this, [this] { window_.toast().setText(model_.toast()); });
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
    if (model_.auth().isSignedIn())
        window_.setPage(MainWindow::Page::Chats);
    else if (model_.auth().isLoading())
        window_.setPage(MainWindow::Page::Loading);
    else
        window_.setPage(MainWindow::Page::SignIn);
}

} // namespace teskal
