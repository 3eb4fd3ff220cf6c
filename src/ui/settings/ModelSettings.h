#pragma once

#include "SettingsPane.h"

#include <QList>
#include <QString>

namespace teskal {

class CardView;
class InkLabel;
class SettingsStatus;
class Switch;

/// A model that can be switched on and off.
struct ModelSwitch {
    QString id;
    QString name;
    QString lab; ///< its maker; may be empty
    bool on = true;

    friend bool operator==(const ModelSwitch&, const ModelSwitch&) = default;
};

/// What the models pane shows.
struct ModelsState {
    QList<ModelSwitch> models;
    bool known = false; ///< the service has told which are on
    bool loading = false;
    bool enabled = true; ///< this deployment keeps settings
    QString error;

    friend bool operator==(const ModelsState&, const ModelsState&) = default;
};

/// Which models may answer.
class ModelSettings : public SettingsPane {
    Q_OBJECT

public:
    explicit ModelSettings(const Theme& theme, QWidget* parent = nullptr);

    /// How this pane's subject is called, here and where it is hidden until someone signs in.
    [[nodiscard]] static QString purpose();

    void setState(const ModelsState& state);

Q_SIGNALS:
    /// What is shown follows by setState().
    void switchRequested(const QString& id, bool on);

private:
    void rebuild(const QList<ModelSwitch>& models);

    CardView* card_;
    SettingsStatus* status_;
    InkLabel* unsaved_ = nullptr;
    QList<ModelSwitch> shown_;
    QList<Switch*> switches_; ///< in the order of shown_
};

} // namespace teskal
