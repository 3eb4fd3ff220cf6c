#include "DialogBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "dialogs/ConfirmDialog.h"
#include "dialogs/FolderNameField.h"
#include "dialogs/NameDialog.h"
#include "dialogs/RenameField.h"
#include "theme/Theme.h"

#include <QFontMetrics>

namespace teskal {

namespace {

constexpr int widestTitle = 300;

} // namespace

DialogBinding::DialogBinding(AppModel& model, MainWindow& window) : model_(model), window_(window) {
    const Prompts& prompts = model.prompts();
    connect(&prompts, &Prompts::renamingChanged, this, &DialogBinding::showRenaming);
    connect(&prompts, &Prompts::confirmingDeleteChanged, this, &DialogBinding::showChatDelete);
    connect(&prompts, &Prompts::folderPromptChanged, this, &DialogBinding::showFolderPrompt);
    connect(&prompts, &Prompts::confirmingFolderDeleteChanged, this, &DialogBinding::showFolderDelete);
    // Questions about several chats are none of the model's; they go with the account.
    connect(&model.store(), &ChatStore::listReset, this, [this] {
        if (!model_.prompts().confirmingDelete())
            close(chatDelete_);
    });
}

void DialogBinding::showRenaming() {
    close(renaming_);
    const std::optional<QString> id = model_.prompts().renaming();
    const Chat* chat = id ? model_.store().chat(*id) : nullptr;
    if (!chat)
        return;
    NameDialog* dialog =
        askName(renaming_, tr("Rename chat"), new RenameField(window_.theme(), chat->title), tr("Rename"));
    connect(dialog, &NameDialog::submitted, this, [this, id](const QString& title) {
        model_.prompts().setRenaming(std::nullopt);
        model_.renameChat(*id, title);
    });
    connect(dialog, &NameDialog::cancelled, this, [this] { model_.prompts().setRenaming(std::nullopt); });
}

void DialogBinding::showChatDelete() {
    close(chatDelete_);
    const std::optional<QString> id = model_.prompts().confirmingDelete();
    const Chat* chat = id ? model_.store().chat(*id) : nullptr;
    if (!chat)
        return;
    ConfirmDialog* dialog =
        confirm(chatDelete_, tr("Delete this chat?"),
                tr("“%1” will be removed from this Mac and your other devices. This can’t be undone.")
                    .arg(shown(chat->title)));
    connect(dialog, &ConfirmDialog::confirmed, this, [this, id] {
        model_.prompts().setConfirmingDelete(std::nullopt);
        model_.deleteChat(*id);
    });
    connect(dialog, &ConfirmDialog::cancelled, this,
            [this] { model_.prompts().setConfirmingDelete(std::nullopt); });
}

void DialogBinding::askToDelete(const QStringList& ids) {
    model_.prompts().setConfirmingDelete(std::nullopt);
    close(chatDelete_);
    ConfirmDialog* dialog =
        confirm(chatDelete_, tr("Delete %n chats?", nullptr, static_cast<int>(ids.size())),
                tr("They will be removed from this Mac and your other devices. This can’t be undone."));
    connect(dialog, &ConfirmDialog::confirmed, this, [this, ids] {
        close(chatDelete_);
        for (const QString& id : ids)
            model_.deleteChat(id);
    });
    connect(dialog, &ConfirmDialog::cancelled, this, [this] { close(chatDelete_); });
}

void DialogBinding::showFolderPrompt() {
    close(folderPrompt_);
    const std::optional<FolderPrompt> prompt = model_.prompts().folderPrompt();
    if (!prompt)
        return;
    auto* field = new FolderNameField(window_.theme(), prompt->renamed ? prompt->renamed->name : QString());
    NameDialog* dialog = prompt->renamed ? askName(folderPrompt_, tr("Rename folder"), field, tr("Rename"))
                                         : askName(folderPrompt_, tr("New folder"), field, tr("Create"));
    connect(dialog, &NameDialog::submitted, this, [this, prompt](const QString& name) {
        model_.prompts().setFolderPrompt(std::nullopt);
        model_.submitFolderName(name, *prompt);
    });
    connect(dialog, &NameDialog::cancelled, this, [this] { model_.prompts().setFolderPrompt(std::nullopt); });
}

void DialogBinding::showFolderDelete() {
    close(folderDelete_);
    const std::optional<Folder> folder = model_.prompts().confirmingFolderDelete();
    if (!folder)
        return;
    ConfirmDialog* dialog =
        confirm(folderDelete_, tr("Delete this folder?"),
                tr("“%1” will be deleted on all your devices. The chats in it stay and move back to your "
                   "chat list.")
                    .arg(shown(folder->name)));
    connect(dialog, &ConfirmDialog::confirmed, this, [this, id = folder->id] {
        model_.prompts().setConfirmingFolderDelete(std::nullopt);
        model_.folders().remove(id);
    });
    connect(dialog, &ConfirmDialog::cancelled, this,
            [this] { model_.prompts().setConfirmingFolderDelete(std::nullopt); });
}

ConfirmDialog* DialogBinding::confirm(Dialog& place, const QString& title, const QString& message) {
    auto* dialog = new ConfirmDialog(window_.theme(), title, message, window_);
    open(place, dialog);
    return dialog;
}

NameDialog* DialogBinding::askName(Dialog& place, const QString& title, QLineEdit* field,
                                   const QString& submit) {
    auto* dialog = new NameDialog(window_.theme(), title, field, submit, window_);
    open(place, dialog);
    return dialog;
}

void DialogBinding::open(Dialog& place, ModalCard* dialog) {
    place = dialog;
    connect(dialog, &ModalCard::focusHomeless, &window_, &MainWindow::focusPage);
    dialog->open();
}

void DialogBinding::close(Dialog& place) {
    if (!place)
        return;
    place->dismiss();
    place->deleteLater(); // one of its own buttons may be what closes it
    place.clear();
}

QString DialogBinding::shown(const QString& title) const {
    return QFontMetrics(window_.theme().font(TextRole::Body))
        .elidedText(title.section(QLatin1Char('\n'), 0, 0).trimmed(), Qt::ElideRight, widestTitle);
}

} // namespace teskal
