#pragma once

#include "EnginePage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

namespace teskal::test {

inline QByteArray asJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

inline QJsonObject question(const QString& id, const QString& text) {
    return {{QStringLiteral("id"), id},
            {QStringLiteral("role"), QStringLiteral("user")},
            {QStringLiteral("content"), text}};
}

inline QJsonObject answer(const QString& id, const QString& text, bool pending = false) {
    QJsonObject message{{QStringLiteral("id"), id},
                        {QStringLiteral("role"), QStringLiteral("assistant")},
                        {QStringLiteral("content"), text}};
    if (pending)
        message.insert(QStringLiteral("pending"), true);
    return message;
}

/// \a count paragraphs, each with its number in it.
inline QString paragraphs(int count) {
    QString text;
    for (int i = 0; i < count; ++i)
        text +=
            QStringLiteral("Paragraph %1 says what it has to say in a line or two, and no more.\n\n").arg(i);
    return text;
}

/// Shows \a messages as a chat of its own and waits until all of them are drawn.
[[nodiscard]] inline bool showChat(EnginePage& page, const QList<QJsonObject>& messages) {
    QJsonArray list;
    for (const QJsonObject& message : messages)
        list.append(message);
    page.port().call("setChat", {asJson({{QStringLiteral("id"), QUuid::createUuid().toString(QUuid::Id128)},
                                         {QStringLiteral("messages"), list}})});
    return page.waitFor(
        QStringLiteral("document.querySelectorAll('article').length === %1").arg(messages.size()));
}

inline void upsert(EnginePage& page, const QJsonObject& message) {
    page.port().call("upsert", {asJson(message)});
}

} // namespace teskal::test
