#pragma once

#include <QString>

#include <optional>

namespace teskal {

/// What \a link, which anybody may have written, opens outside of the application: a web address as it
/// stands, a mail address with nothing but "to", "cc", "subject" and "body". The rest of what mail programs
/// understand could attach files of the user's or add readers that are not seen. None for any other link.
std::optional<QString> outsideLink(const QString& link);

} // namespace teskal
