#include "CardView.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

#include <memory>

namespace teskal {

namespace {

constexpr int separatorInset = 14;

} // namespace

CardView::CardView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), column_(new QVBoxLayout(this)) {
    column_->setContentsMargins(0, 0, 0, 0);
    column_->setSpacing(0);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void CardView::addRow(QWidget* row) {
    column_->addWidget(row);
}

void CardView::clear() {
    while (const std::unique_ptr<QLayoutItem> item{column_->takeAt(0)})
        delete item->widget();
}

void CardView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(theme_.ink().card);
    painter.setPen(QPen(theme_.ink().line, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), metrics::radiusCard,
                            metrics::radiusCard);
    painter.setRenderHint(QPainter::Antialiasing, false);
    bool isFirst = true;
    for (int index = 0; index < column_->count(); ++index) {
        const QWidget* const row = column_->itemAt(index)->widget();
        if (!row || row->isHidden())
            continue;
        if (!isFirst)
            painter.fillRect(separatorInset, row->y(), width() - 2 * separatorInset, 1, theme_.ink().line);
        isFirst = false;
    }
}

} // namespace teskal
