#pragma once

#include <QString>

#include <exception>

namespace teskal {

/// What tells the user that the service did not listen or speak: that there are no credits left, when \a
/// failure says so, or else \a otherwise.
QString speechNotice(const std::exception& failure, const QString& otherwise);

} // namespace teskal
