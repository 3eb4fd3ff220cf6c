#pragma once

#include "RecordCodec.h"

#include <QString>

#include <optional>

namespace teskal {

/// The signed-in user, as the provider's userinfo describes them.
struct Profile {
    QString sub; ///< identity of the account; everything kept for a user is kept under it; never empty in use
    std::optional<QString> name;
    std::optional<QString> email;
    std::optional<QString> picture; ///< URL of an avatar

    /// The name, else the e-mail address, else "You".
    QString displayName() const;

    friend bool operator==(const Profile&, const Profile&) = default;
};

} // namespace teskal
