#include "Prompts.h"

namespace teskal {

void Prompts::setRenaming(const std::optional<QString>& chatId) {
    if (renaming_ == chatId)
        return;
    renaming_ = chatId;
    Q_EMIT renamingChanged();
}

void Prompts::setConfirmingDelete(const std::optional<QString>& chatId) {
    if (confirmingDelete_ == chatId)
        return;
    confirmingDelete_ = chatId;
    Q_EMIT confirmingDeleteChanged();
}

void Prompts::setFolderPrompt(const std::optional<FolderPrompt>& prompt) {
    if (folderPrompt_ == prompt)
        return;
    folderPrompt_ = prompt;
    Q_EMIT folderPromptChanged();
}

void Prompts::setConfirmingFolderDelete(const std::optional<Folder>& folder) {
    if (confirmingFolderDelete_ == folder)
        return;
    confirmingFolderDelete_ = folder;
    Q_EMIT confirmingFolderDeleteChanged();
}

void Prompts::dropGone(const Exists& chat, const Exists& folder) {
    if (renaming_ && !chat(*renaming_))
        setRenaming(std::nullopt);
    if (confirmingDelete_ && !chat(*confirmingDelete_))
        setConfirmingDelete(std::nullopt);
    if (folderPrompt_ && folderPrompt_->renamed && !folder(folderPrompt_->renamed->id))
        setFolderPrompt(std::nullopt);
    if (confirmingFolderDelete_ && !folder(confirmingFolderDelete_->id))
        setConfirmingFolderDelete(std::nullopt);
}

void Prompts::clear() {
    setRenaming(std::nullopt);
    setConfirmingDelete(std::nullopt);
    setFolderPrompt(std::nullopt);
    setConfirmingFolderDelete(std::nullopt);
}

} // namespace teskal
