#include "CommandBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"

#include <utility>

namespace teskal {

CommandBinding::CommandBinding(AppModel& model, MainWindow& window)
    : model_(model), window_(window), commands_(window.commands()) {
    bindChats();
    bindChat();
    bindTranscript();
    bindAccount();
    connect(&commands_, &TeskalCommands::quitRequested, this, &CommandBinding::quitRequested);
    connect(&commands_, &TeskalCommands::settingsRequested, this,
            [this] { Q_EMIT settingsRequested(QString()); });
    connect(&commands_, &TeskalCommands::helpRequested, &model, &AppModel::openHelp);
    connect(&model.auth(), &Auth::isSignedInChanged, this, &CommandBinding::showState);
    connect(&model, &AppModel::selectionChanged, this, &CommandBinding::showState);
    connect(&model, &AppModel::busyChanged, this, &CommandBinding::showState);
    showState();
}

template<typename Action>
void CommandBinding::inWindow(void (TeskalCommands::*signal)(), Action action) {
    connect(&commands_, signal, this, [this, action] {
        window_.present();
        action();
    });
}

void CommandBinding::bindChats() {
    inWindow(&TeskalCommands::newChatRequested, [this] { model_.newChat(); });
    inWindow(&TeskalCommands::newPrivateChatRequested, [this] { model_.newPrivateChat(); });
    inWindow(&TeskalCommands::newFolderRequested,
             [this] { model_.prompts().setFolderPrompt(FolderPrompt::create()); });
}

void CommandBinding::bindChat() {
    connect(&commands_, &TeskalCommands::stopRequested, &model_, &AppModel::stop);
    connect(&commands_, &TeskalCommands::askAgainRequested, &model_, [this] { model_.retry(); });
    connect(&commands_, &TeskalCommands::copyLastAnswerRequested, &model_, &AppModel::copyLastAnswer);
    inWindow(&TeskalCommands::renameChatRequested,
             [this] { model_.prompts().setRenaming(model_.selection()); });
    inWindow(&TeskalCommands::deleteChatRequested,
             [this] { model_.prompts().setConfirmingDelete(model_.selection()); });
    // The panel that it opens is tied to the composer.
    inWindow(&TeskalCommands::attachRequested, [] {});
}

void CommandBinding::bindTranscript() {
    FindBar& bar = window_.detail().findBar();
    connect(&commands_, &TeskalCommands::findRequested, &bar, &FindBar::open);
    connect(&commands_, &TeskalCommands::findNextRequested, &bar, &FindBar::findNext);
    connect(&commands_, &TeskalCommands::findPreviousRequested, &bar, &FindBar::findPrevious);
    connect(&commands_, &TeskalCommands::scrollToEndRequested, &model_.transcript(),
            &TranscriptBridge::scrollToBottom);
}

void CommandBinding::bindAccount() {
    connect(&commands_, &TeskalCommands::signInRequested, this, [this] {
        model_.signIn();
        signingIn_ = true;
    });
    connect(&model_.auth(), &Auth::isSigningInChanged, this, &CommandBinding::endSignIn);
    connect(&commands_, &TeskalCommands::signOutRequested, &model_, &AppModel::signOut);
    inWindow(&TeskalCommands::creditsRequested, [this] { model_.setSheet(Sheet::Credits); });
    inWindow(&TeskalCommands::keysRequested, [this] { model_.setSheet(Sheet::Keys); });
    inWindow(&TeskalCommands::routesRequested, [this] { model_.setSheet(Sheet::Routes); });
    connect(&commands_, &TeskalCommands::privacyRequested, this,
            [this] { Q_EMIT settingsRequested(QStringLiteral("privacy")); });
}

void CommandBinding::endSignIn() {
    if (model_.auth().isSigningIn() || !std::exchange(signingIn_, false))
        return;
    if (const std::optional<QString>& error = model_.auth().lastError())
        model_.show(*error);
}

void CommandBinding::showState() {
    const Chat* chat = model_.selectedChat();
    CommandState state;
    state.signedIn = model_.auth().isSignedIn();
    state.chatSelected = model_.selection().has_value();
    state.chatExists = chat != nullptr;
    state.hasMessages = chat && !chat->messages.isEmpty();
    state.busy = model_.isBusy();
    state.endsInAnswer = chat && !chat->messages.isEmpty() && chat->messages.last().role == Role::Assistant;
    commands_.setState(state);
}

} // namespace teskal
