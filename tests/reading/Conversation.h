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
    return {{u"id"_qs, id}, {u"role"_qs, u"user"_qs}, {u"content"_qs, text}};
}

inline QJsonObject answer(const QString& id, const QString& text, bool pending = false) {
    QJsonObject message{{u"id"_qs, id}, {u"role"_qs, u"assistant"_qs}, {u"content"_qs, text}};
    if (pending)
        message.insert(u"pending"_qs, true);
    return message;
}

/// \a count paragraphs, each with its number in it.
inline QString paragraphs(int count) {
    QString text;
    for (int i = 0; i < count; ++i)
        text += u"Paragraph %1 says what it has to say in a line or two, and no more.\n\n"_qs.arg(i);
    return text;
}

/// Shows \a messages as a chat of its own.
inline void setChat(EnginePage& page, const QList<QJsonObject>& messages) {
    QJsonArray list;
    for (const QJsonObject& message : messages)
        list.append(message);
    page.port().call("setChat", {asJson({{u"id"_qs, QUuid::createUuid().toString(QUuid::Id128)},
                                         {u"messages"_qs, list}})});
}

/// The same, until all of them are drawn.
[[nodiscard]] inline bool showChat(EnginePage& page, const QList<QJsonObject>& messages) {
    setChat(page, messages);
    return page.waitFor(shownMessages + u" === %1"_qs.arg(messages.size()));
}

inline void upsert(EnginePage& page, const QJsonObject& message) {
    page.port().call("upsert", {asJson(message)});
}

} // namespace teskal::test
