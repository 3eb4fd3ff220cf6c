#pragma once

#include "Completion.h"

#include <QString>

#include <optional>
#include <stop_token>

class QWidget;

namespace teskal {

/// Asks, in a dialog of \a window, where to save a file, beginning in the user's downloads with
/// \a suggestedName. Returns at once; the outcome is the chosen path, none when the user decided against it,
/// and Cancelled when the window goes. The dialog goes when \a stop is set.
Completion<std::optional<QString>> askWhereToSave(QWidget* window, const QString& suggestedName,
                                                  std::stop_token stop);

} // namespace teskal
