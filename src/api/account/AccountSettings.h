#pragma once

#include <QList>
#include <QStringList>

#include <optional>

namespace teskal {

/// The settings that live at the service.
struct AccountSettings {
    bool anonymize = false;     ///< personal data is anonymised before it reaches a model
    QStringList disabledModels; ///< identifiers of the models that the user has switched off

    friend bool operator==(const AccountSettings&, const AccountSettings&) = default;
};

/// A model that can be switched on and off.
struct ModelOption {
    QString id;
    QStringList ids; ///< the model identifiers that this option stands for
    QString name;
    std::optional<QString> lab; ///< the model's maker
    QString kind;

    friend bool operator==(const ModelOption&, const ModelOption&) = default;
};

/// What the service tells of the settings and of what can be set.
struct SettingsReply {
    AccountSettings settings;
    QList<ModelOption> models;
    std::optional<qint64> anonymizeCredits; ///< what anonymising costs, in credits
    std::optional<bool> enabled;            ///< whether this account has settings

    friend bool operator==(const SettingsReply&, const SettingsReply&) = default;
};

} // namespace teskal
