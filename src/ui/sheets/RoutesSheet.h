#pragma once

#include "RowList.h"
#include "SheetFrame.h"

namespace teskal {

class InkLabel;
class SettingsStatus;

/// What the routes sheet shows.
struct RoutesState {
    QList<SheetRow> routes; ///< where the requests went
    QList<SheetRow> pool;   ///< where requests can go
    bool loading = false;   ///< the pool is being asked for
    QString error;

    friend bool operator==(const RoutesState&, const RoutesState&) = default;
};

/// Where the user's requests were routed, and the models there are to route to.
class RoutesSheet : public SheetFrame {
    Q_OBJECT

public:
    RoutesSheet(const Theme& theme, QWidget& window);

    void setState(const RoutesState& state);

private:
    void addHeading(const QString& text);
    QWidget* addCard(RowList* list);

    RowList* routes_;
    QWidget* routesCard_;
    InkLabel* none_;
    RowList* pool_;
    QWidget* poolCard_;
    SettingsStatus* status_;
};

} // namespace teskal
