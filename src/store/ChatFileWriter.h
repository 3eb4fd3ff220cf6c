#pragma once

#include "Chat.h"
#include "ChatFileReader.h"
#include "FileError.h"

#include <QString>

#include <memory>
#include <variant>
#include <vector>

namespace teskal {

/// A chat file to be written: what changed as values, the rest as text of the file before. Immutable while
/// it is written, by any thread.
struct ChatFileJob {
    using Piece = std::variant<ChatRange, Chat>;

    QString path;
    std::vector<Piece> pieces;                    ///< in the order of the file
    std::shared_ptr<const FileSnapshot> previous; ///< what the ranges are of; null when there are none
};

/// The file as it is now.
struct WrittenChats {
    std::vector<ChatRange> ranges; ///< where each piece stands now
    std::shared_ptr<const FileSnapshot> file;
};

/// The file that the ranges are of was changed by somebody else, or cannot be read any more: everything has
/// to be written from values.
class PreviousFileChanged : public FileError {
public:
    PreviousFileChanged() : FileError(QStringLiteral("the file was changed from outside")) {}
};

/// Writes the file: what did not change is copied, not encoded again. Throws FileError; the old file is whole
/// then.
WrittenChats writeChatFile(const ChatFileJob& job);

} // namespace teskal
