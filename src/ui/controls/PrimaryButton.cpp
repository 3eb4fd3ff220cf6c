#include "PrimaryButton.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QStyle>

namespace teskal {

namespace {

constexpr int buttonHeight = 44;
constexpr int padding = 22;
constexpr int markSide = 18;
constexpr int markGap = 10;

} // namespace

PrimaryButton::PrimaryButton(const Theme& theme, const QString& text, QWidget* parent)
    : InkButton(theme, parent) {
    QFont strong = theme.font(TextRole::Reading);
    strong.setWeight(QFont::Medium);
    setFont(strong);
    setText(text);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PrimaryButton::setMark(Mark mark) {
    mark_ = std::move(mark);
    updateGeometry();
    update();
}

QSize PrimaryButton::sizeHint() const {
    const int markWidth = mark_ ? markSide + markGap : 0;
    return {fontMetrics().horizontalAdvance(text()) + markWidth + 2 * padding, buttonHeight};
}

void PrimaryButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme().ink();
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink.fg);
    const double radius = metrics::radiusCard;
    painter.setOpacity(!isEnabled() ? 0.55 : isDown() ? 0.78 : 1 - 0.12 * hoverAmount());
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setOpacity(isEnabled() ? 1 : 0.85);

    QRect content = rect().adjusted(padding, 0, -padding, 0);
    if (mark_) {
        const QRect place(content.left(), content.center().y() - markSide / 2 + 1, markSide, markSide);
        mark_(painter, QStyle::visualRect(layoutDirection(), content, place));
        QRect rest = content.adjusted(markSide + markGap, 0, 0, 0);
        content = QStyle::visualRect(layoutDirection(), content, rest);
    }
    painter.setPen(ink.page);
    painter.setFont(font());
    painter.drawText(content, Qt::AlignCenter, text());
    painter.setOpacity(1);
    // On a ground of the foreground colour the ring keeps a gap, or it would merge with the edge.
    paintFocusRing(painter, QRectF(rect()).adjusted(2, 2, -2, -2), radius - 2);
}

} // namespace teskal
