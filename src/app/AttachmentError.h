#pragma once

#include "Error.h"

namespace teskal {

/// Why a file cannot go with a message. The text is what the user reads.
class AttachmentError : public Error {
public:
    enum class Kind {
        Unsupported, ///< neither an image nor a PDF
        TooLarge,    ///< over the limit, and nothing makes it fit
        Unreadable,  ///< not a regular file with something in it that may be read
        TooMany,     ///< the message has all the files that it may have
    };

    static AttachmentError unsupported(const QString& name);
    static AttachmentError tooLarge(const QString& name);
    static AttachmentError unreadable(const QString& name);
    static AttachmentError tooMany();

    Kind kind() const { return kind_; }

private:
    AttachmentError(Kind kind, const QString& text) : Error(text), kind_(kind) {}

    Kind kind_;
};

} // namespace teskal
