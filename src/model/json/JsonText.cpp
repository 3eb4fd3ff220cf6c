#include "JsonText.h"

#include "JsonError.h"
#include "JsonRepair.h"

namespace teskal::json {

namespace {

constexpr char byteOrderMark[] = "\xEF\xBB\xBF";

bool isMendable(simdjson::error_code code) {
    return code == simdjson::STRING_ERROR || code == simdjson::UTF8_ERROR || code == simdjson::NUMBER_ERROR;
}

simdjson::simdjson_result<simdjson::dom::element> parseBytes(simdjson::dom::parser& parser,
                                                             QByteArrayView text, qsizetype readableAfter) {
    const bool padded = readableAfter >= qsizetype(simdjson::SIMDJSON_PADDING);
    return parser.parse(text.data(), std::size_t(text.size()), !padded);
}

QByteArrayView withoutByteOrderMark(QByteArrayView text) {
    return text.startsWith(byteOrderMark) ? text.sliced(3) : text;
}

JSONValue convert(simdjson::dom::element element, int depth) {
    if (depth > JSONValue::maxDepth)
        throw JsonError(QStringLiteral("the value is nested too deeply"));
    switch (element.type()) {
    case simdjson::dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case simdjson::dom::element_type::INT64:
        return double(element.get_int64().value_unsafe());
    case simdjson::dom::element_type::UINT64:
        return double(element.get_uint64().value_unsafe());
    case simdjson::dom::element_type::DOUBLE:
        return element.get_double().value_unsafe();
    case simdjson::dom::element_type::STRING:
        return toQString(element.get_string().value_unsafe());
    case simdjson::dom::element_type::ARRAY: {
        JSONValue::Array elements;
        const simdjson::dom::array children(element);
        for (const simdjson::dom::element child : children)
            elements.append(convert(child, depth + 1));
        return elements;
    }
    case simdjson::dom::element_type::OBJECT: {
        JSONValue::Object members;
        const simdjson::dom::object children(element);
        for (const auto& [key, child] : children)
            members.insert(members.cend(), toQString(key),
                           convert(child, depth + 1)); // mostly sorted already
        return members;
    }
    case simdjson::dom::element_type::NULL_VALUE:
        break;
    }
    return nullptr;
}

} // namespace

JsonText::JsonText() = default;

simdjson::dom::element JsonText::parse(QByteArrayView text, qsizetype readableAfter) {
    const QByteArrayView body = withoutByteOrderMark(text);
    if (body.isEmpty()) // perhaps a null pointer, which the parser would copy from
        throw JsonError(QStringLiteral("not readable as JSON: there is no text"));
    auto result = parseBytes(parser_, body, readableAfter);
    if (isMendable(result.error())) {
        mended_ = repaired(body);
        result = parseBytes(parser_, mended_, 0);
    }
    if (result.error())
        throw JsonError(QStringLiteral("not readable as JSON: %1")
                            .arg(QLatin1String(simdjson::error_message(result.error()))));
    return result.value_unsafe();
}

JSONValue toValue(simdjson::dom::element element) {
    return convert(element, 0);
}

JSONValue parseValue(QByteArrayView text) {
    JsonText reader;
    return toValue(reader.parse(text));
}

QString toQString(std::string_view utf8) {
    QString text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    // Qt takes a mark at the beginning for one of the encoding; inside JSON it is a character like others.
    if (utf8.starts_with(byteOrderMark))
        text.prepend(QChar(QChar::ByteOrderMark));
    return text;
}

} // namespace teskal::json
