#pragma once

#include "FolderDocument.h"

#include <QString>

#include <optional>

namespace teskal {

/// The question for a folder's name: of a new one, or another one of a folder.
struct FolderPrompt {
    std::optional<QString> chatId; ///< to be filed in the new folder; none for an empty one
    std::optional<Folder> renamed; ///< none for a new folder

    static FolderPrompt create(const std::optional<QString>& chatId = std::nullopt) { return {chatId, {}}; }
    static FolderPrompt rename(const Folder& folder) { return {{}, folder}; }

    friend bool operator==(const FolderPrompt&, const FolderPrompt&) = default;
};

} // namespace teskal
