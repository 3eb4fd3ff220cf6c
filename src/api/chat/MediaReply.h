#pragma once

#include "ChatResult.h"
#include "HttpMessage.h"
#include "JSONValue.h"

#include <QByteArray>

#include <functional>

namespace teskal {

/// Reads an answer that came as one JSON object instead of a stream. \a onRoute is called once, before the
/// result is looked at, when the body tells a route. Throws APIError with status 502 when the body is no JSON
/// object, is of an unknown type, or is an image without its data.
ChatResult readMediaReply(const HttpHeaders& headers, QByteArrayView body,
                          const std::function<void(JSONValue)>& onRoute);

} // namespace teskal
