#pragma once

#include "FolderDocument.h"

namespace teskal {

/// One document out of several versions of it. With the same \a nowMs (ms since 1970) the order and the
/// grouping of the versions make no difference, and merging what was merged already changes nothing.
///
/// Deletions older than 365 days before \a nowMs are forgotten before anything else. Of several versions of a
/// folder or an assignment the one changed last wins; a folder that was deleted at that time or later is
/// gone. Versions changed at the same time are settled by their canonical texts, of which the greater wins.
/// The result lists folders by order and identifier, and assignments by chat.
FolderDocument merged(const QList<FolderDocument>& documents, double nowMs);

/// The version as RFC 8785 writes it, on which every device and the service agree: a JSON object of the
/// members createdAt, id, name, order, updatedAt, in this order, without white space, with numbers as
/// jsNumber writes them. Texts are compared by their UTF-16 code units.
QString canonicalText(const Folder& folder);
/// The same with the members chatId, folderId (null when the chat was taken out of its folder), updatedAt.
QString canonicalText(const FolderAssignment& assignment);

/// The order in which a merged document lists its folders.
inline bool comesBefore(const Folder& a, const Folder& b) {
    return a.order != b.order ? a.order < b.order : a.id < b.id;
}

} // namespace teskal
