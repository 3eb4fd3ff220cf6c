#pragma once

#include "HttpError.h"

#include <QNetworkReply>

#include <optional>

namespace teskal {

/// What a finished reply's error code means here. None when the exchange itself worked: the code then only
/// repeats the reply's status, and every status is a success at this level.
/// \a status is 0 when no status line arrived; \a machineOffline says that the system reports no network.
std::optional<HttpError> httpErrorFrom(QNetworkReply::NetworkError code, int status, bool machineOffline);

} // namespace teskal
