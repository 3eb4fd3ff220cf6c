#pragma once

#include "FolderDocument.h"

#include <QHash>
#include <QStringList>

#include <optional>

namespace teskal {

// The changes that a user makes to a merged document, which stays in a merged document's order. \a nowMs is
// the time of the change in ms since 1970; what it changes never becomes older than it was. The functions
// that return a truth say whether there was anything to change.

/// Adds a folder behind all others.
void addFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs);
bool renameFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs);
/// When a chat was last filed, ms since 1970, by the chat's identifier.
using FilingTimes = QHash<QString, double>;

/// Removes the folder and the assignments to it, whose times \a removed takes, and records the deletion.
bool removeFolder(FolderDocument& document, const QString& id, double nowMs, FilingTimes& removed);
/// Files the chats in a folder, or with none takes them out of theirs. An unknown folder changes nothing.
/// \a removed are the times of assignments that are gone here but not yet elsewhere, and must not win there.
bool assignChats(FolderDocument& document, const QStringList& chatIds, const std::optional<QString>& folderId,
                 double nowMs, const FilingTimes& removed);
/// Takes those of the chats that are filed out of their folders.
bool unfileChats(FolderDocument& document, const QStringList& chatIds, double nowMs);

/// The folder of this \a id; null when there is none. Valid until the document changes.
const Folder* findFolder(const FolderDocument& document, const QString& id);

} // namespace teskal
