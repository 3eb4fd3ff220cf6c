#pragma once

#include <QString>

#include <optional>

namespace teskal {

/// Why an answer failed, as it is stored on the message and shown in its place.
struct MessageError {
    std::optional<QString> code; ///< machine-readable, such as "INSUFFICIENT_CREDITS"
    QString message;             ///< the text that the user reads

    friend bool operator==(const MessageError&, const MessageError&) = default;
};

} // namespace teskal
