#include "RoutesBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "RouteRows.h"
#include "sheets/RoutesSheet.h"

#include <QLocale>

#include <cmath>

namespace teskal {

namespace {

/// The interface speaks English, numbers included.
QString numberText(double number, int decimals) {
    return QLocale(QLocale::English).toString(number, 'f', decimals);
}

QString capitalised(const QString& text) {
    return text.left(1).toUpper() + text.mid(1);
}

QString creditsText(const std::optional<double>& credits) {
    if (!credits)
        return {};
    const bool isWhole = *credits == std::floor(*credits);
    const QString number = numberText(*credits, isWhole ? 0 : 2);
    return *credits == 1 ? RoutesBinding::tr("%1 credit").arg(number)
                         : RoutesBinding::tr("%1 credits").arg(number);
}

SheetRow rowOf(const RouteRow& route) {
    return {route.model, capitalised(route.task), creditsText(route.credits)};
}

/// The service gives times in milliseconds and errors as a share of one.
QString healthText(const std::optional<Health>& health) {
    QStringList figures;
    if (health && health->ttft)
        figures.append(RoutesBinding::tr("first word in %1 s").arg(numberText(*health->ttft / 1000, 1)));
    if (health && health->errorRate)
        figures.append(RoutesBinding::tr("%1 % errors").arg(numberText(*health->errorRate * 100, 1)));
    return figures.join(QStringLiteral(" · "));
}

SheetRow rowOf(const PoolModel& model) {
    return {model.name.simplified(), model.lab.value_or(QString()).simplified(), healthText(model.health)};
}

template<class Record>
QList<SheetRow> rowsOf(const QList<Record>& records) {
    QList<SheetRow> rows;
    rows.reserve(records.size());
    for (const Record& record : records)
        rows.append(rowOf(record));
    return rows;
}

} // namespace

RoutesBinding::RoutesBinding(AppModel& model, MainWindow& window) : model_(model), window_(window) {
    connect(&model.pool(), &ModelPool::changed, this, &RoutesBinding::show);
    connect(&model, &AppModel::answeringChanged, this, &RoutesBinding::show);
    connect(&model.store(), &ChatStore::listReset, this, &RoutesBinding::show);
    connect(&model.store(), &ChatStore::newestLoaded, this, &RoutesBinding::show);
    connect(&model.store(), &ChatStore::loaded, this, &RoutesBinding::show);
}

SheetFrame& RoutesBinding::prepare() {
    if (!sheet_)
        sheet_ = new RoutesSheet(window_.theme(), window_);
    model_.loadPool();
    show();
    return *sheet_;
}

void RoutesBinding::show() {
    if (!sheet_ || model_.sheet() != Sheet::Routes)
        return;
    RoutesState state;
    state.routes = rowsOf(routeRows(model_.store()));
    state.pool = rowsOf(model_.pool().models());
    state.loading = model_.pool().isLoading();
    state.error = model_.pool().error();
    sheet_->setState(state);
}

} // namespace teskal
