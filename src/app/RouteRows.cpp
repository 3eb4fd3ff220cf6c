#include "RouteRows.h"

#include "ChatStore.h"

namespace teskal {

namespace {

QString textMember(const JSONValue& value, const QString& key) {
    return value.member(key).text().value_or(QString()).simplified();
}

bool isAnswered(const ChatMessage& message) {
    return message.role == Role::Assistant && message.route && !message.pending &&
           (!message.error || !message.content.isEmpty() || message.media);
}

std::optional<RouteRow> rowOf(const JSONValue& route) {
    static const QString nameKey = QStringLiteral("name");
    static const QString modelKey = QStringLiteral("model");
    static const QString taskKey = QStringLiteral("task");
    static const QString decisionKey = QStringLiteral("decision");
    static const QString creditsKey = QStringLiteral("credits");
    RouteRow row;
    row.model = textMember(route, nameKey);
    if (row.model.isEmpty())
        row.model = textMember(route, modelKey);
    if (row.model.isEmpty())
        return std::nullopt;
    row.task = textMember(route, taskKey);
    const JSONValue credits = route.member(decisionKey).member(creditsKey);
    if (credits.number())
        row.credits = *credits.number();
    return row;
}

} // namespace

QList<RouteRow> routeRows(const ChatStore& store) {
    QList<RouteRow> rows;
    for (int chat = 0; chat < store.count(); ++chat) {
        const QList<ChatMessage>& messages = store.at(chat).messages;
        for (auto message = messages.crbegin(); message != messages.crend(); ++message) {
            if (!isAnswered(*message))
                continue;
            if (const auto row = rowOf(*message->route))
                rows.append(*row);
        }
    }
    return rows;
}

} // namespace teskal
