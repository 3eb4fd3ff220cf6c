#pragma once

#include "FolderDocument.h"

#include <QStringList>

#include <optional>

namespace teskal {

// The changes that a user makes to a merged document, which stays in a merged document's order. \a nowMs is
// the time of the change in ms since 1970; what it changes never becomes older than it was. The functions
// that return a truth say whether there was anything to change.

/// Adds a folder behind all others.
void addFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs);
bool renameFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs);
/// Removes the folder and the assignments to it, and records the deletion.
bool removeFolder(FolderDocument& document, const QString& id, double nowMs);
/// Files the chats in a folder, or with none takes them out of theirs. An unknown folder changes nothing.
bool assignChats(FolderDocument& document, const QStringList& chatIds, const std::optional<QString>& folderId,
                 double nowMs);
/// Takes those of the chats that are filed out of their folders.
bool unfileChats(FolderDocument& document, const QStringList& chatIds, double nowMs);

/// The folder of this \a id; null when there is none. Valid until the document changes.
const Folder* findFolder(const FolderDocument& document, const QString& id);

} // namespace teskal
