#pragma once

#include "HttpMessage.h"

#include <QNetworkRequest>

namespace teskal {

/// \a request in the network library's terms, with everything that it would do by itself (redirects,
/// cookies, cached credentials, compression, HTTP/2) turned off.
/// Throws HttpError for a URL that is not http(s) and for a header that would break out of its line.
QNetworkRequest networkRequestFrom(const HttpRequest& request);

} // namespace teskal
