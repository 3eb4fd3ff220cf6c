#include "Corpus.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace teskal::test {

namespace {

QString joined(const QJsonArray& parts) {
    QString text;
    for (const QJsonValue& part : parts) {
        if (part.isString()) {
            text += part.toString();
            continue;
        }
        const QJsonArray rule = part.toArray();
        const QString repeated = rule.at(0).toString();
        for (int count = 0; count < rule.at(1).toInt(); ++count) {
            const QString piece =
                rule.size() < 3 ? repeated : repeated.repeated(count) + rule.at(2).toString();
            text += QString(piece).replace(QLatin1String("%n"), QString::number(count));
        }
    }
    return text;
}

QJsonArray repeated(const QJsonArray& valueAndCount) {
    QJsonArray list;
    for (int count = 0; count < valueAndCount.at(1).toInt(); ++count)
        list.append(valueAndCount.at(0));
    return list;
}

QJsonValue expanded(const QJsonValue& value) {
    if (value.isArray()) {
        QJsonArray list;
        for (const QJsonValue& entry : value.toArray())
            list.append(expanded(entry));
        return list;
    }
    if (!value.isObject())
        return value;
    const QJsonObject object = value.toObject();
    if (object.size() == 1 && object.contains(u"text"_qs))
        return joined(object.value(u"text"_qs).toArray());
    if (object.size() == 1 && object.contains(u"list"_qs))
        return repeated(object.value(u"list"_qs).toArray());
    QJsonObject result;
    for (auto member = object.begin(); member != object.end(); ++member)
        result.insert(member.key(), expanded(member.value()));
    return result;
}

QByteArray literalText(const QString& text) {
    QByteArray result = "\"";
    for (const QChar unit : text) {
        const bool plain = unit.unicode() >= 0x20 && unit.unicode() < 0x7f && unit != QLatin1Char('"') &&
                           unit != QLatin1Char('\\');
        if (plain)
            result += unit.toLatin1();
        else
            result += "\\u" + QByteArray::number(unit.unicode(), 16).rightJustified(4, '0');
    }
    return result + '"';
}

} // namespace

QList<Payload> payloadsIn(const QString& file) {
    QFile source(QStringLiteral(TESKAL_HOSTILE_FILES "/payloads/") + file);
    QJsonParseError error;
    const QJsonDocument document = source.open(QIODevice::ReadOnly)
                                       ? QJsonDocument::fromJson(source.readAll(), &error)
                                       : QJsonDocument();
    if (!document.isArray())
        qFatal("%s: %s", qUtf8Printable(source.fileName()), qUtf8Printable(error.errorString()));
    QList<Payload> payloads;
    for (const QJsonValue& entry : document.array()) {
        const QJsonArray row = entry.toArray();
        Payload payload{row.at(0).toString(), expanded(row.at(1)), row.at(2).toString()};
        if (payload.shows == QLatin1String("="))
            payload.shows = payload.value.toString();
        payloads.append(payload);
    }
    return payloads;
}

QByteArray literal(const QJsonValue& value) {
    if (value.isString())
        return literalText(value.toString());
    QList<QByteArray> parts;
    if (value.isArray()) {
        for (const QJsonValue& entry : value.toArray())
            parts.append(literal(entry));
        return '[' + parts.join(',') + ']';
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        if (object.size() == 1 && object.contains(u"script"_qs))
            return object.value(u"script"_qs).toString().toUtf8();
        for (auto member = object.begin(); member != object.end(); ++member)
            parts.append(literalText(member.key()) + ':' + literal(member.value()));
        return '{' + parts.join(',') + '}';
    }
    // A lone number, truth value or null, taken out of the array that makes a document of it.
    const QByteArray wrapped = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

} // namespace teskal::test
