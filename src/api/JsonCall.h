#pragma once

#include <QByteArray>
#include <QCoroTask>

#include <optional>
#include <stop_token>

namespace teskal {

class TeskalAPI;

/// One exchange of JSON: sends \a json (none: no body) and returns the body of the reply.
/// Throws as TeskalAPI::data.
QCoro::Task<QByteArray> jsonCall(TeskalAPI api, QByteArray method, QByteArray path,
                                 std::optional<QByteArray> json, std::stop_token stop);

} // namespace teskal
