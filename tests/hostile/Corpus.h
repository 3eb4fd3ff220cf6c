#pragma once

#include <QJsonValue>
#include <QList>
#include <QString>

namespace teskal::test {

/// One hostile thing and what the reader must still see of it.
struct Payload {
    QString name;
    QJsonValue value;
    /// Text that must be readable; nothing is required when empty.
    QString shows;
};

/// The payloads of one file in the folder payloads: rows of name, value and text to be readable, where "="
/// stands for the value itself. In values, {"text": [a, [b, 1000], [c, 1000, d], …]} is a string put together
/// from parts; b is repeated, with "%n" counting; c grows by itself, with d behind each; {"list": [value,
/// 1000]} is an array of equal values; {"script": "…"} is handed to the page as it stands. A missing or
/// malformed file ends the program.
QList<Payload> payloadsIn(const QString& file);

/// A value as JSON that is also a JavaScript literal, in ASCII: even lone surrogates arrive as they are.
QByteArray literal(const QJsonValue& value);

} // namespace teskal::test
