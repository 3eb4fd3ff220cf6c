#pragma once

#include "Error.h"

#include <QByteArray>

#include <optional>

namespace teskal {

/// A failed call to the service: the HTTP status (502 for what the client raises itself), a machine-readable
/// code when there is one, and the text for the user.
class APIError : public Error {
public:
    APIError(int status, std::optional<QString> code, const QString& message)
        : Error(message), status_(status), code_(std::move(code)) {}

    /// The error that a reply with a failing \a status and this \a body means. Never throws: a body that is
    /// not a JSON object counts as an empty one.
    static APIError from(int status, QByteArrayView body);

    /// The text that a reply's \a body gives for the user, none when it has none. Never throws.
    static std::optional<QString> textIn(QByteArrayView body);

    int status() const { return status_; }
    const std::optional<QString>& code() const { return code_; }

private:
    int status_;
    std::optional<QString> code_;
};

} // namespace teskal
