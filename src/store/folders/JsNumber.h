#pragma once

#include <QString>

namespace teskal {

/// \a value as JavaScript's number-to-text conversion writes it, which RFC 8785 (section 3.2.2.3) prescribes:
/// the shortest digits that read back the same, without an exponent from 1e-6 up to below 1e21; "0" for both
/// zeros; "Infinity", "-Infinity" and "NaN".
QString jsNumber(double value);

} // namespace teskal
