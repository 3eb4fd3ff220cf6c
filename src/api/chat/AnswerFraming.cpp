#include "AnswerFraming.h"

#include "JsonError.h"
#include "JsonText.h"

namespace teskal {

namespace {

constexpr char eventStart = 0x1E; // record separator
constexpr char eventEnd = 0x1D;   // group separator

JSONValue parsedOrNull(const QByteArray& event) {
    try {
        return json::parseValue(event);
    } catch (const JsonError&) {
        return nullptr;
    }
}

JSONValue::Array onlyStrings(const JSONValue::Array& values) {
    JSONValue::Array strings;
    for (const JSONValue& value : values)
        if (value.string())
            strings.append(value);
    return strings;
}

} // namespace

void AnswerFraming::feed(QByteArrayView bytes, const std::function<void()>& onReport) {
    while (!bytes.isEmpty())
        bytes = bytes.sliced(insideEvent_ ? takeEvent(bytes, onReport) : takeText(bytes));
}

bool AnswerFraming::finish() {
    return decoder_.finish(text_);
}

qsizetype AnswerFraming::takeText(QByteArrayView bytes) {
    const qsizetype start = bytes.indexOf(eventStart);
    decoder_.decode(start < 0 ? bytes : bytes.first(start), text_);
    if (start < 0)
        return bytes.size();
    insideEvent_ = true;
    eventTooLarge_ = false;
    event_.clear();
    return start + 1;
}

qsizetype AnswerFraming::takeEvent(QByteArrayView bytes, const std::function<void()>& onReport) {
    const qsizetype end = bytes.indexOf(eventEnd);
    const QByteArrayView part = end < 0 ? bytes : bytes.first(end);
    if (event_.size() + part.size() > maxEventSize) {
        eventTooLarge_ = true;
        event_.clear();
    }
    if (!eventTooLarge_)
        event_.append(part);
    if (end < 0)
        return bytes.size();
    insideEvent_ = false;
    if (applyEvent())
        onReport();
    return end + 1;
}

bool AnswerFraming::applyEvent() {
    const JSONValue event = parsedOrNull(event_);
    const JSONValue type = event.member(QStringLiteral("type"));
    const auto is = [&type](QLatin1StringView name) { return type.string() && *type.string() == name; };
    if (is(QLatin1StringView("phase"))) {
        const JSONValue phase = event.member(QStringLiteral("phase"));
        if (!phase.string())
            return false;
        phase_ = *phase.string();
    } else if (is(QLatin1StringView("search"))) {
        const JSONValue query = event.member(QStringLiteral("query"));
        if (!query.string())
            return false;
        searches_.append(query);
    } else if (is(QLatin1StringView("plan"))) {
        const JSONValue steps = event.member(QStringLiteral("steps"));
        if (!steps.array())
            return false;
        steps_ = onlyStrings(*steps.array());
    } else {
        return false;
    }
    return true;
}

JSONValue AnswerFraming::activity() const {
    JSONValue::Object members{{QStringLiteral("searches"), searches_}};
    if (phase_)
        members.insert(QStringLiteral("phase"), *phase_);
    if (steps_)
        members.insert(QStringLiteral("steps"), *steps_);
    return members;
}

std::optional<QString> AnswerFraming::brokenOffError() const {
    const JSONValue error = parsedOrNull(event_).member(QStringLiteral("error"));
    if (!insideEvent_ || !error.string() || error.string()->isEmpty())
        return std::nullopt;
    return *error.string();
}

} // namespace teskal
