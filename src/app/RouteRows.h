#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

class ChatStore;

/// Where the service sent one request.
struct RouteRow {
    QString model;                 ///< its name as people say it
    QString task;                  ///< what the service took the request for; may be empty
    std::optional<double> credits; ///< what the answer cost, when the decision says so

    friend bool operator==(const RouteRow&, const RouteRow&) = default;
};

/// One row for every answer of the saved chats that says which model wrote it: the newest chat first, and in
/// each the last answer first.
QList<RouteRow> routeRows(const ChatStore& store);

} // namespace teskal
