#pragma once

#include "Attachment.h"

#include <QString>

namespace teskal {

/// A file of the next message.
struct DraftFile {
    quint64 number = 0;     ///< tells files of the same name apart; never given out a second time
    QString name;           ///< as the user sees it
    bool preparing = false; ///< it is still being read or converted; the attachment is not there yet
    Attachment attachment;

    friend bool operator==(const DraftFile&, const DraftFile&) = default;
};

} // namespace teskal
