#pragma once

#include "InkLabel.h"

namespace teskal {

/// A line that says what is waited for or what went wrong, to those who look and to those who listen.
class AlertLabel : public InkLabel {
    Q_OBJECT

public:
    AlertLabel(const Theme& theme, TextRole role, QWidget* parent = nullptr);

    /// An empty \a text says nothing. Failures have a colour of their own.
    void say(const QString& text, bool isFailure);
};

} // namespace teskal
