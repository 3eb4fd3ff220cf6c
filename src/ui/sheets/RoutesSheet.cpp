#include "RoutesSheet.h"

#include "controls/CardView.h"
#include "controls/InkLabel.h"
#include "settings/SettingsStatus.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int mostRoutes = 6;
constexpr int mostModels = 8;
constexpr int sectionGap = 20;
constexpr int headingGap = 8;

} // namespace

RoutesSheet::RoutesSheet(const Theme& theme, QWidget& window)
    : SheetFrame(theme, tr("Routes"), window), routes_(new RowList(theme, mostRoutes)),
      none_(new InkLabel(theme, TextRole::Body, &Ink::muted)), pool_(new RowList(theme, mostModels)),
      status_(new SettingsStatus(theme)) {
    setObjectName(QStringLiteral("routesSheet"));
    routes_->setObjectName(QStringLiteral("routeList"));
    routes_->setAccessibleName(tr("Where your requests went"));
    none_->setText(tr("Nothing routed yet. Ask something and come back."));
    none_->setObjectName(QStringLiteral("noRoutes"));
    pool_->setObjectName(QStringLiteral("poolList"));
    pool_->setAccessibleName(tr("The pool right now"));

    addHeading(tr("Where your requests went"));
    routesCard_ = addCard(routes_);
    content().addWidget(none_);
    content().addSpacing(sectionGap);
    addHeading(tr("The pool right now"));
    poolCard_ = addCard(pool_);
    content().addWidget(status_);
    content().addStretch(1);
    setState({});
}

void RoutesSheet::addHeading(const QString& text) {
    auto* heading = new InkLabel(theme(), TextRole::Group, &Ink::muted);
    heading->setText(text);
    content().addWidget(heading);
    content().addSpacing(headingGap);
}

QWidget* RoutesSheet::addCard(RowList* list) {
    auto* card = new CardView(theme());
    card->addRow(list);
    content().addWidget(card);
    return card;
}

void RoutesSheet::setState(const RoutesState& state) {
    routes_->setRows(state.routes);
    routesCard_->setVisible(!state.routes.isEmpty());
    none_->setVisible(state.routes.isEmpty());
    pool_->setRows(state.pool);
    poolCard_->setVisible(!state.pool.isEmpty());
    const bool waits = state.loading && state.pool.isEmpty();
    status_->setStatus(waits ? tr("Loading models…") : QString(), state.error);
}

} // namespace teskal
