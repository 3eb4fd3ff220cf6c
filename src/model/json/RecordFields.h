#pragma once

#include "JsonError.h"
#include "JsonText.h"
#include "JsonWriter.h"
#include "RecordCodec.h"

#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <tuple>

// How records become JSON and back. A record declares its members once:
//
//   template<> struct RecordFields<MessageError> {
//       static constexpr auto list = std::tuple{optionalField("code", &MessageError::code),
//                                               requiredField("message", &MessageError::message)};
//   };
//
// and reading, writing and the order of the keys follow. Include this only in source files: it brings the
// JSON parser along.

namespace teskal {

template<typename Record>
struct RecordFields;

template<typename Record, typename Member>
struct Field {
    std::string_view key;
    Member Record::*member;
    bool required;
};

template<typename Record, typename Member>
constexpr Field<Record, Member> requiredField(std::string_view key, Member Record::*member) {
    return {key, member, true};
}

/// For std::optional members, and for lists and booleans whose empty or false value means "absent".
template<typename Record, typename Member>
constexpr Field<Record, Member> optionalField(std::string_view key, Member Record::*member) {
    return {key, member, false};
}

namespace json {

/// Thrown while reading a value of the wrong type; the reader of the member adds the key.
class TypeMismatch : public JsonError {
public:
    TypeMismatch() : JsonError(QStringLiteral("the value has another type than expected")) {}
};

template<typename T>
concept HasFields = requires {
    RecordFields<T>::list;
};

template<HasFields Record>
void readValue(simdjson::dom::element element, Record& record, Source source);
template<HasFields Record>
void writeValue(JsonWriter& writer, const Record& record);

inline void readValue(simdjson::dom::element element, QString& text, Source) {
    std::string_view utf8;
    if (element.get(utf8))
        throw TypeMismatch();
    text = toQString(utf8);
}

inline void readValue(simdjson::dom::element element, double& number, Source) {
    if (element.get(number))
        throw TypeMismatch();
}

/// JSON has one kind of number: 12.0 is as whole as 12. Beyond 2^53 doubles leave numbers out.
inline void readValue(simdjson::dom::element element, qint64& number, Source) {
    double value = 0;
    if (element.get(value) || value != std::floor(value) || std::abs(value) > 9'007'199'254'740'992.0)
        throw TypeMismatch();
    number = qint64(value);
}

inline void readValue(simdjson::dom::element element, bool& truth, Source) {
    if (element.get(truth))
        throw TypeMismatch();
}

inline void readValue(simdjson::dom::element element, JSONValue& value, Source) {
    value = toValue(element);
}

template<typename T>
void readValue(simdjson::dom::element element, QList<T>& list, Source source) {
    simdjson::dom::array array;
    if (element.get(array))
        throw TypeMismatch();
    list.clear();
    list.reserve(qsizetype(array.size()));
    for (const simdjson::dom::element child : array)
        readValue(child, list.emplaceBack(), source);
}

template<typename T>
void readValue(simdjson::dom::element element, std::optional<T>& value, Source source) {
    readValue(element, value.emplace(), source);
}

inline void writeValue(JsonWriter& writer, const QString& text) {
    writer.string(text);
}
inline void writeValue(JsonWriter& writer, double number) {
    writer.number(number);
}
inline void writeValue(JsonWriter& writer, qint64 number) {
    writer.number(double(number));
}
inline void writeValue(JsonWriter& writer, bool truth) {
    writer.boolean(truth);
}
inline void writeValue(JsonWriter& writer, const JSONValue& value) {
    writer.value(value);
}
template<typename T>
void writeValue(JsonWriter& writer, const QList<T>& list) {
    writer.beginArray();
    for (const T& element : list)
        writeValue(writer, element);
    writer.endArray();
}
template<typename T>
void writeValue(JsonWriter& writer, const std::optional<T>& value) {
    writeValue(writer, *value);
}

template<typename T>
bool isAbsent(const T&) {
    return false;
}
inline bool isAbsent(bool truth) {
    return !truth;
}
template<typename T>
bool isAbsent(const QList<T>& list) {
    return list.isEmpty();
}
template<typename T>
bool isAbsent(const std::optional<T>& value) {
    return !value.has_value();
}

[[noreturn]] inline void throwAt(std::string_view key, const QString& why) {
    throw JsonError(QStringLiteral("\"%1\": %2").arg(toQString(key), why));
}

template<typename Record, typename Member>
void readMember(const std::optional<simdjson::dom::element>& element, const Field<Record, Member>& field,
                Record& record, Source source) {
    if (!element || element->is_null()) {
        if (field.required)
            throwAt(field.key, QStringLiteral("the key is missing or null"));
        return;
    }
    try {
        readValue(*element, record.*field.member, source);
    } catch (const JsonError& error) {
        if (field.required || source == Source::Wire)
            throwAt(field.key, error.text());
        record.*field.member = Member();
    }
}

/// \a record must be new: members that are absent keep the value they have.
template<HasFields Record>
void readValue(simdjson::dom::element element, Record& record, Source source) {
    constexpr auto fields = RecordFields<Record>::list;
    constexpr auto indexes = std::make_index_sequence<std::tuple_size_v<decltype(fields)>>();
    simdjson::dom::object object;
    if (element.get(object))
        throw TypeMismatch();
    std::array<std::optional<simdjson::dom::element>, indexes.size()> last; // of equal keys the last wins
    for (const auto& [key, child] : object) {
        [&, &name = key, &member = child ]<std::size_t... I>(std::index_sequence<I...>) {
            ((std::get<I>(fields).key == name ? void(last[I] = member) : void()), ...);
        }
        (indexes);
    }
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (readMember(last[I], std::get<I>(fields), record, source), ...);
    }
    (indexes);
}

template<HasFields Record>
void writeValue(JsonWriter& writer, const Record& record) {
    writer.beginObject();
    std::apply(
        [&](const auto&... field) {
            ((field.required || !isAbsent(record.*field.member)
                  ? (writer.key(field.key), writeValue(writer, record.*field.member))
                  : void()),
             ...);
        },
        RecordFields<Record>::list);
    writer.endObject();
}

} // namespace json

template<typename Record>
Record decodeRecord(QByteArrayView text, Source source) {
    json::JsonText reader;
    Record record;
    json::readValue(reader.parse(text), record, source);
    return record;
}

template<typename Record>
QByteArray encodeRecord(const Record& record) {
    JsonWriter writer;
    json::writeValue(writer, record);
    return writer.take();
}

} // namespace teskal

/// Makes decodeRecord and encodeRecord of \a Record available to code that sees only RecordCodec.h.
#define TESKAL_INSTANTIATE_CODEC(Record)                                                                     \
    template Record decodeRecord<Record>(QByteArrayView, Source);                                            \
    template QByteArray encodeRecord<Record>(const Record&)
