#pragma once

#include "HttpMessage.h"

#include <optional>

namespace teskal {

/// Which redirects are followed: those of a GET that asks for it, within its origin, and this many of them at
/// most.
constexpr int maxRedirects = 5;

/// Where \a request goes next after the reply \a head, none when the reply is to be returned as it is.
/// \a followed is the number of redirects followed so far.
std::optional<QUrl> redirectTarget(const HttpRequest& request, const HttpHead& head, int followed);

} // namespace teskal
