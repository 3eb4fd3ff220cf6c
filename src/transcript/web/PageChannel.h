#pragma once

#include <QJsonObject>
#include <QObject>

namespace teskal {

/// The one object that the page's script can reach.
class PageChannel final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

public Q_SLOTS:
    void receive(const QJsonObject& message) { Q_EMIT received(message); }

Q_SIGNALS:
    void received(const QJsonObject& message);
};

} // namespace teskal
