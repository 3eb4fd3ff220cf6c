#pragma once

#include "SafeJson.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

namespace teskal::service {

/// A folder for chats, in the version that was last changed at `updatedAt`.
struct Folder {
    std::string id;
    std::string name;
    double order = 0;
    double createdAt = 0; ///< ms since 1970, as all times here
    double updatedAt = 0;

    bool operator==(const Folder&) const = default;
};

/// Which folder a chat lies in.
struct FolderAssignment {
    std::string chatId;
    std::optional<std::string> folderId; ///< nothing: taken out of its folder
    double updatedAt = 0;

    bool operator==(const FolderAssignment&) const = default;
};

/// Longest identifier or name that is kept, in UTF-16 code units.
inline constexpr std::size_t maxTextLength = 4096;

/// The folders of an account, what lies in them, and which were deleted when.
struct FolderDocument {
    std::map<std::string, Folder> folders;               ///< by identifier
    std::map<std::string, FolderAssignment> assignments; ///< by chat
    std::map<std::string, double> deleted;               ///< times, by folder identifier

    /// Reads a document. Entries that are not understood are skipped, so that one bad entry of another device
    /// never costs the rest; so are entries with an empty identifier or a text of more than `maxTextLength`,
    /// which clients leave out as well. Of several entries for one folder or chat the winner of a merge is
    /// kept.
    static FolderDocument fromJson(const Json& json);
    /// JSON text with its lists in one order: folders by order, then identifier; assignments by chat.
    std::string toText() const;
};

/// Text by which two versions of equal time are told apart: the greater by UTF-16 code units wins. It is the
/// record as canonical JSON (RFC 8785) with every key present: createdAt, id, name, order, updatedAt of a
/// folder; chatId, folderId (null when there is none), updatedAt of an assignment.
std::string canonicalText(const Folder& folder);
std::string canonicalText(const FolderAssignment& assignment);

/// Joins documents into one. For each folder and chat the later version wins, ties by `canonicalText`; a
/// folder whose deletion is not older than it is gone. Deletions more than 365 days before `nowMs` are
/// forgotten before anything else, which keeps the result independent of the order and grouping of merges.
FolderDocument merge(std::span<const FolderDocument> documents, std::int64_t nowMs);

} // namespace teskal::service
