#pragma once

#include "HttpMessage.h"
#include "JSONValue.h"

namespace teskal {

/// The routing decision that the headers of a streamed answer tell: an object whose members are absent where
/// their header is, "web" excepted. Malformed percent-encoding leaves the title raw and the decision out.
JSONValue routeFromHeaders(const HttpHeaders& headers);

} // namespace teskal
