#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

/// The service's recent measurements of a model, for display.
struct Health {
    std::optional<double> samples;   ///< number of measurements
    std::optional<double> ttft;      ///< time to first token, as the service gives it
    std::optional<double> errorRate; ///< as the service gives it

    friend bool operator==(const Health&, const Health&) = default;
};

/// A model to which the service routes messages.
struct PoolModel {
    QString id;
    QString name;
    std::optional<QString> lab; ///< the model's maker
    std::optional<Health> health;

    friend bool operator==(const PoolModel&, const PoolModel&) = default;
};

} // namespace teskal
