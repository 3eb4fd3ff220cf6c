#include "LevelBars.h"

#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

constexpr int barWidth = 3;
constexpr int barGap = 3;
constexpr int leastBar = 6;
constexpr int barStep = 3;
constexpr int barSteps = 4;
constexpr int mostBar = leastBar + barStep * (barSteps - 1);
constexpr double litOpacity = 0.7;
constexpr double darkOpacity = 0.12;
constexpr int changeMs = 100;

} // namespace

LevelBars::LevelBars(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), from_(opacitiesAt(0)), to_(from_), change_(this) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    change_.setStartValue(0.0);
    change_.setEndValue(1.0);
    connect(&change_, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

LevelBars::Opacities LevelBars::opacitiesAt(double level) {
    Opacities opacities{};
    for (int bar = 0; bar < barCount; ++bar)
        opacities.at(static_cast<size_t>(bar)) =
            static_cast<double>(bar) / barCount < level ? litOpacity : darkOpacity;
    return opacities;
}

LevelBars::Opacities LevelBars::shown() const {
    if (change_.state() != QAbstractAnimation::Running)
        return to_;
    const double share = change_.currentValue().toDouble();
    Opacities mixed{};
    for (size_t bar = 0; bar < mixed.size(); ++bar)
        mixed.at(bar) = from_.at(bar) + (to_.at(bar) - from_.at(bar)) * share;
    return mixed;
}

void LevelBars::setLevel(double level) {
    const Opacities wanted = opacitiesAt(level);
    if (wanted == to_)
        return;
    from_ = shown();
    to_ = wanted;
    change_.stop();
    const int duration = isVisible() ? theme_.motion(changeMs) : 0;
    change_.setDuration(duration);
    if (duration > 0)
        change_.start();
    update();
}

QSize LevelBars::sizeHint() const {
    return {barCount * barWidth + (barCount - 1) * barGap, mostBar};
}

void LevelBars::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const Opacities opacities = shown();
    for (int bar = 0; bar < barCount; ++bar) {
        const int height = leastBar + barStep * (bar % barSteps);
        const QRectF place(bar * (barWidth + barGap), (this->height() - height) / 2.0, barWidth, height);
        painter.setBrush(theme_.ink().tint(opacities.at(static_cast<size_t>(bar))));
        painter.drawRoundedRect(place, barWidth / 2.0, barWidth / 2.0);
    }
}

void LevelBars::hideEvent(QHideEvent* event) {
    change_.stop();
    QWidget::hideEvent(event);
}

} // namespace teskal
