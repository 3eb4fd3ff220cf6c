#pragma once

#include "JSONValue.h"

#include <QByteArray>
#include <QStringView>

#include <string_view>

namespace teskal {

/// Appends JSON to one growing buffer. The caller keeps the grammar (commas come by themselves); numbers that
/// are whole are written without a fraction, the others in the shortest form that reads back the same.
class JsonWriter {
public:
    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    /// \a name is one of our own ASCII keys and needs no escaping.
    void key(std::string_view name);
    void key(QStringView name);

    void string(QStringView text);
    void number(double value);
    void boolean(bool value) { literal(value ? "true" : "false"); }
    void null() { literal("null"); }
    void value(const JSONValue& any);
    /// Bytes that are one JSON value already.
    void raw(QByteArrayView json);

    /// What was written; valid until the next change.
    QByteArrayView text() const { return {buffer_.constData(), size_}; }
    /// Forgets what was written, and keeps the room for what comes.
    void clear() {
        size_ = 0;
        needsComma_ = false;
    }
    /// What was written; the writer is empty afterwards.
    QByteArray take();

private:
    void open(char bracket);
    void close(char bracket);
    void separate();
    void literal(std::string_view text);
    void quoted(QStringView text);
    void append(std::string_view bytes);
    char* room(qsizetype count);

    QByteArray buffer_;
    qsizetype size_ = 0;
    bool needsComma_ = false;
};

/// \a text as a JSON string.
QByteArray jsonString(QStringView text);

} // namespace teskal
