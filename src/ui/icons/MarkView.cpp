#include "MarkView.h"

#include "TeskalMark.h"
#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

MarkView::MarkView(const Theme& theme, int side, QWidget* parent) : QWidget(parent), theme_(theme) {
    setFixedSize(side, side);
    setAccessibleName(QStringLiteral("Teskal"));
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void MarkView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    TeskalMark::paint(painter, rect(), theme_.ink());
}

} // namespace teskal
