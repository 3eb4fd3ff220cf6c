#pragma once

#include "FolderPrompt.h"

#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

/// What the window asks the user at present, one question of each kind: the views show it, and set none when
/// it was answered. A question goes when what it is about goes. Main thread only.
class Prompts final : public QObject {
    Q_OBJECT

public:
    explicit Prompts(QObject* parent = nullptr) : QObject(parent) {}

    /// The chat whose title is being edited.
    const std::optional<QString>& renaming() const { return renaming_; }
    void setRenaming(const std::optional<QString>& chatId);
    /// The chat that is to be deleted when the user says so.
    const std::optional<QString>& confirmingDelete() const { return confirmingDelete_; }
    void setConfirmingDelete(const std::optional<QString>& chatId);
    const std::optional<FolderPrompt>& folderPrompt() const { return folderPrompt_; }
    void setFolderPrompt(const std::optional<FolderPrompt>& prompt);
    /// The folder that is to be deleted when the user says so.
    const std::optional<Folder>& confirmingFolderDelete() const { return confirmingFolderDelete_; }
    void setConfirmingFolderDelete(const std::optional<Folder>& folder);

    using Exists = std::function<bool(const QString& id)>;
    /// Drops the questions about chats and folders that do not exist any more. A new folder is made without
    /// its chat.
    void dropGone(const Exists& chat, const Exists& folder);
    void clear();

Q_SIGNALS:
    void renamingChanged();
    void confirmingDeleteChanged();
    void folderPromptChanged();
    void confirmingFolderDeleteChanged();

private:
    std::optional<QString> renaming_;
    std::optional<QString> confirmingDelete_;
    std::optional<FolderPrompt> folderPrompt_;
    std::optional<Folder> confirmingFolderDelete_;
};

} // namespace teskal
