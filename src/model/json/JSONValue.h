#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <concepts>
#include <optional>
#include <variant>

namespace teskal {

/// Any JSON value whose shape the client does not fix, kept as received. Objects compare as maps,
/// whatever the order of their keys was. Numbers are always finite.
class JSONValue {
public:
    using Object = QMap<QString, JSONValue>;
    using Array = QList<JSONValue>;
    enum class Type { String, Number, Bool, Object, Array, Null };

    /// Deepest nesting that is accepted from outside. A value sits a few levels inside a chat file, so this
    /// stays well below what the file's reader takes (json::maxDepth): what is accepted can be read back.
    static constexpr int maxDepth = 256;

    JSONValue() : value_(nullptr) {}
    JSONValue(QString text) : value_(std::move(text)) {}
    /// A number that is not finite has no JSON form and becomes null.
    JSONValue(double number);
    /// Takes nothing but bool: a pointer would silently become true.
    template<std::same_as<bool> Bool>
    JSONValue(Bool truth) : value_(truth) {}
    JSONValue(Object members) : value_(std::move(members)) {}
    JSONValue(Array elements) : value_(std::move(elements)) {}
    JSONValue(std::nullptr_t) : value_(nullptr) {}

    /// From the untyped tree of a generic parser: booleans before numbers, whatever has no JSON form
    /// becomes null, and so does what is nested deeper than maxDepth.
    static JSONValue fromAny(const QVariant& any);

    Type type() const { return static_cast<Type>(value_.index()); }
    bool isNull() const { return type() == Type::Null; }
    const QString* string() const { return std::get_if<QString>(&value_); }
    const double* number() const { return std::get_if<double>(&value_); }
    const bool* boolean() const { return std::get_if<bool>(&value_); }
    const Object* object() const { return std::get_if<Object>(&value_); }
    const Array* array() const { return std::get_if<Array>(&value_); }
    /// The text of a string, none for the other types.
    std::optional<QString> text() const { return string() ? std::optional(*string()) : std::nullopt; }

    /// The member \a key of an object; null for other types and missing keys.
    JSONValue member(const QString& key) const;

    friend bool operator==(const JSONValue& a, const JSONValue& b) { return a.value_ == b.value_; }

private:
    std::variant<QString, double, bool, Object, Array, std::nullptr_t> value_;
};

} // namespace teskal
