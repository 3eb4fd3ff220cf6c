#pragma once

#include "Cancelled.h"
#include "FailureText.h"

#include <QCoroTask>
#include <QString>

#include <optional>

namespace teskal {

/// What came of a question: a value, or why there is none. Neither when nobody wants it any more, or when the
/// account went meanwhile.
template<typename T>
struct Outcome {
    std::optional<T> value;
    QString error; ///< for the user
};

/// Waits for \a question and throws nothing.
template<typename T>
QCoro::Task<Outcome<T>> outcomeOf(QCoro::Task<T> question) {
    Outcome<T> outcome;
    try {
        outcome.value = co_await std::move(question);
    } catch (const Cancelled&) {
        // neither
    } catch (...) {
        outcome.error = messageError(std::current_exception()).message;
    }
    co_return outcome;
}

/// The answer to a question that needs none.
struct Done {};

QCoro::Task<Outcome<Done>> outcomeOf(QCoro::Task<void> question);

} // namespace teskal
