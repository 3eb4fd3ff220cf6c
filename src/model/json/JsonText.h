#pragma once

#include "JSONValue.h"

#include <QByteArray>

#include <simdjson.h>

#include <memory>

namespace teskal::json {

/// Deepest nesting that is read at all, in a file or from the wire.
inline constexpr std::size_t maxDepth = 1024;

/// Reads one JSON text and keeps what its elements point to. Reusing one object for many texts reuses its
/// buffers. Elements are valid until the next parse.
class JsonText {
public:
    JsonText();

    /// Parses \a text; a byte-order mark is skipped, and a text that fails only for what json::repaired mends
    /// is mended and read. Throws JsonError. \a readableAfter is the number of bytes that may be read behind
    /// the text; with at least simdjson's padding the text is parsed where it is, otherwise from a copy.
    simdjson::dom::element parse(QByteArrayView text, qsizetype readableAfter = 0);

private:
    simdjson::dom::parser parser_;
    QByteArray mended_;
};

/// The value of \a element; throws JsonError when it is nested deeper than JSONValue::maxDepth.
JSONValue toValue(simdjson::dom::element element);

/// \a text as a value of any shape. Throws JsonError.
JSONValue parseValue(QByteArrayView text);

QString toQString(std::string_view utf8);

} // namespace teskal::json
