#pragma once

#include "controls/AlertLabel.h"

namespace teskal {

/// The line in which a pane or a sheet says what it waits for or what went wrong.
class SettingsStatus : public AlertLabel {
    Q_OBJECT

public:
    explicit SettingsStatus(const Theme& theme, QWidget* parent = nullptr);

    /// Hidden while both are empty; \a error comes first.
    void setStatus(const QString& activity, const QString& error);
};

} // namespace teskal
