#pragma once

#include "Completion.h"

#include <QString>

#include <optional>

class QWidget;

namespace teskal {

/// Asks, in a dialog of \a window, where to save a file, beginning in the user's downloads with
/// \a suggestedName. Returns at once; the outcome is the chosen path, none when the user decided against it,
/// and Cancelled when the window goes.
Completion<std::optional<QString>> askWhereToSave(QWidget* window, const QString& suggestedName);

} // namespace teskal
