#pragma once

#include "JSONValue.h"
#include "Utf8Decoder.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace teskal {

/// Takes a streamed answer apart: text, and between 0x1E and 0x1D reports about what is being done. Works
/// byte by byte, so the result does not depend on how the stream is cut into pieces.
class AnswerFraming {
public:
    /// Reports longer than this are dropped, in bytes.
    static constexpr qsizetype maxEventSize = 1024 * 1024;

    /// Takes the next bytes. \a onReport is called after each report that changed the activity, when text()
    /// ends with what came before it.
    void feed(QByteArrayView bytes, const std::function<void()>& onReport);
    /// Ends the stream: text that broke off inside a character gets its replacement. Returns whether it did.
    bool finish();

    const QString& text() const { return text_; }
    /// Object with "phase" (when known), "searches" and "steps" (when a plan arrived).
    JSONValue activity() const;
    /// Whether the stream is inside a report.
    bool isInsideEvent() const { return insideEvent_; }
    /// What the report that was never closed says under "error"; none when it says nothing readable.
    std::optional<QString> brokenOffError() const;

private:
    qsizetype takeText(QByteArrayView bytes);
    qsizetype takeEvent(QByteArrayView bytes, const std::function<void()>& onReport);
    bool applyEvent();

    Utf8Decoder decoder_;
    QString text_;
    QByteArray event_;
    bool insideEvent_ = false;
    bool eventTooLarge_ = false;
    std::optional<QString> phase_;
    JSONValue::Array searches_;
    std::optional<JSONValue::Array> steps_;
};

} // namespace teskal
