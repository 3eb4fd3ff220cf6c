#include "ToastView.h"

#include "announce.h"
#include "theme/Metrics.h"
#include "theme/SoftShadow.h"
#include "theme/Theme.h"
#include "theme/textDirection.h"

#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int pillPaddingX = 16;
constexpr int pillPaddingY = 9;

} // namespace

ToastView::ToastView(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    makeAlert(*this);
    setObjectName(QStringLiteral("toast"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    QFont medium = theme.font(TextRole::Body);
    medium.setWeight(QFont::Medium);
    setFont(medium);
    fade_.setStartValue(0.0);
    fade_.setEndValue(0.0);
    fade_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&fade_, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&fade_, &QVariantAnimation::finished, this, [this] { setVisible(!text_.isEmpty()); });
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
    hide();
}

void ToastView::setText(const QString& text) {
    if (text == text_)
        return;
    const QString shownBefore = text_;
    text_ = text;
    if (text_.isEmpty()) {
        // The pill keeps its words while it fades.
        fadingText_ = shownBefore;
        fadeTo(0);
        return;
    }
    fadingText_.clear();
    setAccessibleName(text_);
    place();
    announce(*this); // in place of the one before; otherwise showing it does that
    show();
    raise();
    update();
    fadeTo(1);
}

void ToastView::setAnchor(const QPoint& bottomCentre, int maximumWidth) {
    anchor_ = bottomCentre;
    maximumWidth_ = maximumWidth;
    place();
}

void ToastView::place() {
    if (text_.isEmpty())
        return;
    const int inner = std::max(80, maximumWidth_ - 2 * pillPaddingX);
    const QRect words =
        fontMetrics().boundingRect(QRect(0, 0, inner, 400), Qt::AlignHCenter | Qt::TextWordWrap, text_);
    const QSize pill(words.width() + 2 * pillPaddingX + 1, words.height() + 2 * pillPaddingY);
    const QRect frame(anchor_.x() - pill.width() / 2, anchor_.y() - pill.height(), pill.width(),
                      pill.height());
    setGeometry(frame.adjusted(-softShadowReach, -softShadowReach, softShadowReach, softShadowReach));
}

void ToastView::fadeTo(double opacity) {
    const double from = fade_.currentValue().toDouble();
    fade_.stop();
    fade_.setStartValue(from);
    fade_.setEndValue(opacity);
    fade_.setDuration(theme_.motion(metrics::motion));
    fade_.start();
}

void ToastView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setOpacity(fade_.currentValue().toDouble());
    const QRect pill = rect().adjusted(softShadowReach, softShadowReach, -softShadowReach, -softShadowReach);
    const double radius = std::min(pill.height() / 2.0, 20.0);
    const Ink& ink = theme_.ink();
    paintSoftShadow(painter, pill, radius, ink.dark);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink.fg);
    painter.drawRoundedRect(pill, radius, radius);
    painter.setPen(ink.page);
    painter.setFont(font());
    const QString words = text_.isEmpty() ? fadingText_ : text_;
    painter.setLayoutDirection(textDirection(words));
    painter.drawText(pill.adjusted(pillPaddingX, 0, -pillPaddingX, 0), Qt::AlignCenter | Qt::TextWordWrap,
                     words);
}

} // namespace teskal
