#include "WindowBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "controls/ToastView.h"
#include "sidebar/ChatListView.h"
#include "sidebar/SidebarView.h"
#include "signin/SignInView.h"

namespace teskal {

WindowBinding::WindowBinding(AppModel& model, MainWindow& window)
    : model_(model), window_(window), chats_(model), sheets_(model, window), composer_(model, window) {
    bindSession();
    bindSidebar();
    bindDetail();
    bindCommands();
    showPage();
    showAccount();
    showChat();
}

void WindowBinding::bindSession() {
    const Auth& auth = model_.auth();
    connect(&auth, &Auth::isLoadingChanged, this, &WindowBinding::showPage);
    connect(&auth, &Auth::isSignedInChanged, this, &WindowBinding::showPage);
    connect(&auth, &Auth::profileChanged, this, &WindowBinding::showAccount);
    connect(&auth, &Auth::isSigningInChanged, this,
            [this] { window_.signIn().setSigningIn(model_.auth().isSigningIn()); });
    connect(&auth, &Auth::lastErrorChanged, this,
            [this] { window_.signIn().setError(model_.auth().lastError().value_or(QString())); });
    connect(&window_.signIn(), &SignInView::signInRequested, this, [this] { model_.signIn(); });
    connect(&model_, &AppModel::toastChanged, this, [this] { window_.toast().setText(model_.toast()); });
}

void WindowBinding::bindSidebar() {
    SidebarView& sidebar = window_.sidebar();
    sidebar.setModel(&chats_);
    connect(&sidebar.list(), &ChatListView::chatChosen, this,
            [this](const QString& id) { model_.select(id); });
    connect(&sidebar, &SidebarView::newChatRequested, &model_, &AppModel::newChat);
    connect(&sidebar, &SidebarView::signOutRequested, &model_, &AppModel::signOut);
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

void WindowBinding::showAccount() {
    const auto& profile = model_.auth().profile();
    window_.sidebar().setAccountName(profile ? profile->displayName() : QString());
}

void WindowBinding::showChat() {
    const Chat* chat = model_.selectedChat();
    DetailView& detail = window_.detail();
    detail.setTitle(chat ? chat->title : QString());
    detail.setEmpty(!chat || chat->messages.isEmpty());
    detail.setBusy(model_.isBusy());
    window_.sidebar().list().setSelectedChat(model_.selection().value_or(QString()));
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
