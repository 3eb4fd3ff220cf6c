#include "WindowBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "composer/ComposerView.h"
#include "controls/ToastView.h"
#include "signin/SignInView.h"

namespace teskal {

WindowBinding::WindowBinding(AppModel& model, MainWindow& window)
    : model_(model), window_(window), sheets_(model, window),
      sidebar_(model, window.sidebar(), window.settings()), composer_(model, window) {
    bindSession();
    bindDetail();
    bindCommands();
    showPage();
    showChat();
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
    connect(&sidebar_, &SidebarBinding::chatOpened, this,
            [this] { window_.detail().composer().focusText(); });
    connect(&model_, &AppModel::toastChanged, this, [this] { window_.toast().setText(model_.toast()); });
}

void WindowBinding::bindDetail() {
    DetailView& detail = window_.detail();
    connect(&detail, &DetailView::newChatRequested, &model_, &AppModel::newChat);
    connect(&detail, &DetailView::stopRequested, &model_, &AppModel::stop);
    connect(&model_, &AppModel::selectionChanged, this, &WindowBinding::showChat);
    connect(&model_, &AppModel::busyChanged, this, &WindowBinding::showChat);
}

void WindowBinding::bindCommands() {
    TeskalCommands& commands = window_.commands();
    connect(&commands, &TeskalCommands::newChatRequested, &model_, &AppModel::newChat);
    connect(&commands, &TeskalCommands::quitRequested, this, &WindowBinding::quitRequested);
    connect(&commands, &TeskalCommands::stopRequested, &model_, &AppModel::stop);
    connect(&commands, &TeskalCommands::askAgainRequested, this, [this] { model_.retry(); });
    connect(&commands, &TeskalCommands::copyLastAnswerRequested, &model_, &AppModel::copyLastAnswer);
    FindBar& bar = window_.detail().findBar();
    connect(&commands, &TeskalCommands::findRequested, &bar, &FindBar::open);
    connect(&commands, &TeskalCommands::findNextRequested, &bar, &FindBar::findNext);
    connect(&commands, &TeskalCommands::findPreviousRequested, &bar, &FindBar::findPrevious);
    connect(&commands, &TeskalCommands::scrollToEndRequested, &model_.transcript(),
            &TranscriptBridge::scrollToBottom);
    connect(&commands, &TeskalCommands::signInRequested, this, [this] { model_.signIn(); });
    connect(&commands, &TeskalCommands::creditsRequested, this, [this] { model_.setSheet(Sheet::Credits); });
    connect(&commands, &TeskalCommands::signOutRequested, &model_, &AppModel::signOut);
    connect(&commands, &TeskalCommands::helpRequested, &model_, &AppModel::openHelp);
}

void WindowBinding::showPage() {
    // A session known from last time is shown at once; the plain surface only while nothing is known.
    if (model_.auth().isSignedIn())
        window_.setPage(MainWindow::Page::Chats);
    else if (model_.auth().isLoading())
        window_.setPage(MainWindow::Page::Loading);
    else
        window_.setPage(MainWindow::Page::SignIn);
    showCommandState();
}

void WindowBinding::showChat() {
    const Chat* chat = model_.selectedChat();
    DetailView& detail = window_.detail();
    detail.setTitle(chat ? chat->title : QString());
    detail.setEmpty(!chat || chat->messages.isEmpty());
    detail.setBusy(model_.isBusy());
    showCommandState();
}

void WindowBinding::showCommandState() {
    const Chat* chat = model_.selectedChat();
    CommandState state;
    state.signedIn = model_.auth().isSignedIn();
    state.chatSelected = chat != nullptr;
    state.hasMessages = chat && !chat->messages.isEmpty();
    state.busy = model_.isBusy();
    state.endsInAnswer = chat && !chat->messages.isEmpty() && chat->messages.last().role == Role::Assistant;
    window_.commands().setState(state);
}

} // namespace teskal
