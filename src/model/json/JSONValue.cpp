#include "JSONValue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

namespace teskal {

namespace {

JSONValue convert(const QVariant& any, int depth);

JSONValue convertList(const QVariantList& list, int depth) {
    if (depth >= JSONValue::maxDepth)
        return nullptr;
    JSONValue::Array elements;
    elements.reserve(list.size());
    for (const QVariant& element : list)
        elements.append(convert(element, depth + 1));
    return elements;
}

template<typename Map>
JSONValue convertMap(const Map& map, int depth) {
    if (depth >= JSONValue::maxDepth)
        return nullptr;
    JSONValue::Object members;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        members.insert(it.key(), convert(it.value(), depth + 1));
    return members;
}

JSONValue convert(const QVariant& any, int depth) {
    switch (any.typeId()) {
    case QMetaType::Bool:
        return any.toBool();
    case QMetaType::QString:
        return any.toString();
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return convertList(any.toList(), depth);
    case QMetaType::QVariantMap:
        return convertMap(any.toMap(), depth);
    case QMetaType::QVariantHash:
        return convertMap(any.toHash(), depth);
    case QMetaType::QJsonValue:
        return convert(any.toJsonValue().toVariant(), depth);
    case QMetaType::QJsonObject:
        return convertMap(any.toJsonObject().toVariantMap(), depth);
    case QMetaType::QJsonArray:
        return convertList(any.toJsonArray().toVariantList(), depth);
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Float:
    case QMetaType::Double:
        return any.toDouble();
    default:
        return nullptr;
    }
}

} // namespace

JSONValue::JSONValue(double number) {
    if (std::isfinite(number))
        value_ = number;
    else
        value_ = nullptr;
}

JSONValue JSONValue::fromAny(const QVariant& any) {
    return convert(any, 0);
}

JSONValue JSONValue::member(const QString& key) const {
    const Object* members = object();
    return members ? members->value(key) : JSONValue();
}

} // namespace teskal
