#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

namespace teskal {

/// A folder of chats in the sidebar.
struct Folder {
    QString id;
    QString name;
    double order = 0;     ///< place among the folders, smaller first
    double createdAt = 0; ///< ms since 1970
    double updatedAt = 0; ///< ms since 1970; the version with the larger one wins

    friend bool operator==(const Folder&, const Folder&) = default;
};

/// Where a chat is filed.
struct FolderAssignment {
    QString chatId;
    std::optional<QString> folderId; ///< none: the chat was taken out of its folder
    double updatedAt = 0;            ///< ms since 1970

    friend bool operator==(const FolderAssignment&, const FolderAssignment&) = default;
};

/// All folders of an account, as one document that every device merges.
struct FolderDocument {
    QList<Folder> folders;
    QList<FolderAssignment> assignments; ///< at most one per chat
    QMap<QString, double> deleted;       ///< folder to the time of its deletion, ms since 1970

    friend bool operator==(const FolderDocument&, const FolderDocument&) = default;
};

/// Reads a document leniently: an element that does not decode is left out, so that one bad entry of another
/// device never loses the rest, and so is one without an identifier, with a text of more than 4,096 UTF-16
/// code units or beyond 10,000 folders, 200,000 assignments or 50,000 deletions. A missing or mistyped member
/// counts as empty. Identifiers may come twice. Throws JsonError when \a json is not an object.
FolderDocument decodeFolderDocument(QByteArrayView json);
/// Reads what the service answers: the document itself or an object that holds it under "document". None when
/// the object has nothing of a document. Throws JsonError when \a json, or what is under "document", is not
/// an object.
std::optional<FolderDocument> decodeFolderReply(QByteArrayView json);
QByteArray encodeFolderDocument(const FolderDocument& document);

} // namespace teskal
