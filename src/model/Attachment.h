#pragma once

#include <QHashFunctions>
#include <QString>

#include <optional>

namespace teskal {

/// A file that the user attached to a message.
struct Attachment {
    QString name;                   ///< file name as the user saw it
    QString mediaType;              ///< MIME type
    std::optional<QString> dataUrl; ///< the file inline, as a base64 data URL
    std::optional<QString> fileId;  ///< the uploaded copy at the service
    bool dropped = false;           ///< the inline data was removed; only the name is left

    friend bool operator==(const Attachment&, const Attachment&) = default;
};

size_t qHash(const Attachment& attachment, size_t seed = 0) noexcept;

} // namespace teskal
