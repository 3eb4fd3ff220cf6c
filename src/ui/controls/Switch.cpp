#include "Switch.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

constexpr double trackWidth = 36;
constexpr double trackHeight = 22;
constexpr double knobInset = 2;
constexpr double ringGap = 3;

QColor mixed(const QColor& from, const QColor& to, double amount) {
    QColor over = to;
    over.setAlphaF(static_cast<float>(amount));
    return flattened(over, from);
}

} // namespace

Switch::Switch(const Theme& theme, QWidget* parent) : InkButton(theme, parent) {
    setCheckable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    knob_.setStartValue(0.0);
    knob_.setEndValue(0.0);
    knob_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&knob_, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(this, &QAbstractButton::toggled, this, &Switch::slide);
}

QSize Switch::sizeHint() const {
    return {qRound(trackWidth + 2 * ringGap), qRound(trackHeight + 2 * ringGap)};
}

void Switch::slide(bool on) {
    const double from = knob_.currentValue().toDouble();
    knob_.stop();
    knob_.setStartValue(from);
    knob_.setEndValue(on ? 1.0 : 0.0);
    // What is not seen yet is where it is from the start.
    knob_.setDuration(isVisible() ? theme().motion(metrics::motion) : 0);
    knob_.start();
}

void Switch::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme().ink();
    const double on = knob_.currentValue().toDouble();
    QRectF track(0, 0, trackWidth, trackHeight);
    track.moveCenter(QRectF(rect()).center());
    const QColor off = flattened(ink.tint(0.16 + 0.05 * hoverAmount()), ink.card);
    painter.setOpacity(isEnabled() ? 1 : 0.45);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(off, ink.accent, on));
    painter.drawRoundedRect(track, trackHeight / 2, trackHeight / 2);

    const double side = trackHeight - 2 * knobInset;
    const double way = layoutDirection() == Qt::RightToLeft ? 1 - on : on;
    const QRectF knob(track.left() + knobInset + way * (trackWidth - trackHeight), track.top() + knobInset,
                      side, side);
    painter.setBrush(ink.dark ? ink.fg : ink.card);
    painter.drawEllipse(knob);
    painter.setOpacity(1);
    paintFocusRing(painter, track.adjusted(-ringGap, -ringGap, ringGap, ringGap), trackHeight / 2 + ringGap);
}

} // namespace teskal
