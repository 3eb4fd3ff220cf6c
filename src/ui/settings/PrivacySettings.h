#pragma once

#include "SettingsPane.h"

#include <QString>

#include <optional>

namespace teskal {

class InkLabel;
class SettingRow;
class SettingsStatus;
class Switch;

/// What the privacy pane shows.
struct PrivacyState {
    bool known = false; ///< the service has told the settings
    bool anonymize = false;
    std::optional<qint64> anonymizeCredits; ///< what it costs per message
    bool enabled = true;                    ///< this deployment keeps settings
    QString error;

    friend bool operator==(const PrivacyState&, const PrivacyState&) = default;
};

/// How messages are protected on their way to the models.
class PrivacySettings : public SettingsPane {
    Q_OBJECT

public:
    explicit PrivacySettings(const Theme& theme, QWidget* parent = nullptr);

    /// How this pane's subject is called, here and where it is hidden until someone signs in.
    [[nodiscard]] static QString purpose();

    void setState(const PrivacyState& state);

Q_SIGNALS:
    /// What is shown follows by setState().
    void anonymizeRequested(bool on);

private:
    Switch* anonymize_;
    SettingRow* row_;
    InkLabel* unsaved_ = nullptr;
    SettingsStatus* status_;
};

} // namespace teskal
