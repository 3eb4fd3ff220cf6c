#pragma once

#include <QString>

namespace teskal {

/// The name, without extension, of the files of account \a owner: ASCII letters and digits stay, every other
/// byte of its UTF-8 form becomes %XX. A name longer than 200 bytes is cut and ends in a SHA-256 of the
/// whole; "account" when nothing is left.
QString accountFileName(const QString& owner);

} // namespace teskal
