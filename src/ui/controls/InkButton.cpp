#include "InkButton.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

namespace teskal {

InkButton::InkButton(const Theme& theme, QWidget* parent) : QAbstractButton(parent), theme_(theme) {
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setFont(theme.font(TextRole::Body));
    hover_.setStartValue(0.0);
    hover_.setEndValue(0.0);
    hover_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&hover_, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

double InkButton::hoverAmount() const {
    return isEnabled() ? hover_.currentValue().toDouble() : 0;
}

void InkButton::paintFocusRing(QPainter& painter, const QRectF& rect, double radius) const {
    if (!ringVisible_ || !hasFocus())
        return;
    const double inset = metrics::focusRing / 2.0;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme_.ink().accent, metrics::focusRing));
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
    painter.restore();
}

void InkButton::fadeTo(double amount) {
    const double from = hover_.currentValue().toDouble();
    hover_.stop();
    hover_.setStartValue(from);
    hover_.setEndValue(amount);
    hover_.setDuration(theme_.motion(metrics::motion));
    hover_.start();
}

void InkButton::enterEvent(QEnterEvent* event) {
    fadeTo(1);
    QAbstractButton::enterEvent(event);
}

void InkButton::leaveEvent(QEvent* event) {
    fadeTo(0);
    QAbstractButton::leaveEvent(event);
}

void InkButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange)
        update();
    QAbstractButton::changeEvent(event);
}

void InkButton::hideEvent(QHideEvent* event) {
    // A hidden button gets no leave event; it must not come back lit.
    hover_.stop();
    hover_.setStartValue(0.0);
    hover_.setEndValue(0.0);
    QAbstractButton::hideEvent(event);
}

void InkButton::focusInEvent(QFocusEvent* event) {
    switch (event->reason()) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
    case Qt::ShortcutFocusReason:
        ringVisible_ = true;
        break;
    case Qt::MouseFocusReason:
        ringVisible_ = false;
        break;
    default:
        break; // back from another window, a menu or a dialog: as it was
    }
    QAbstractButton::focusInEvent(event);
    update();
}

void InkButton::focusOutEvent(QFocusEvent* event) {
    QAbstractButton::focusOutEvent(event);
    update();
}

void InkButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat())
            click();
        event->accept();
        return;
    }
    if (event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab) {
        ringVisible_ = true; // there is nowhere else to go
        update();
    }
    QAbstractButton::keyPressEvent(event);
}

} // namespace teskal
