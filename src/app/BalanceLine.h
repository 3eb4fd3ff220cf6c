#pragma once

#include "Balance.h"

#include <QString>

#include <optional>

namespace teskal {

/// What is said of the account's credits in one line: how many there are, in the user's way of writing
/// numbers; or that there are none to have, or none known. Empty before the service has been asked.
/// \a failed tells that the last question got no answer.
QString balanceLine(const std::optional<Billing>& billing, bool failed);
QString balanceLine(const Balance& balance);

} // namespace teskal
