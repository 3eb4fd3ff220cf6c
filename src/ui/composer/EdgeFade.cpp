#include "EdgeFade.h"

#include "theme/Theme.h"

#include <QLinearGradient>
#include <QPainter>

namespace teskal {

EdgeFade::EdgeFade(const Theme& theme, bool atRight, QWidget* parent)
    : QWidget(parent), theme_(theme), atRight_(atRight) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void EdgeFade::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QColor full = theme_.ink().card;
    QColor none = full;
    none.setAlpha(0);
    QLinearGradient fade(0, 0, reach, 0);
    fade.setColorAt(0, atRight_ ? none : full);
    fade.setColorAt(1, atRight_ ? full : none);
    painter.fillRect(rect(), fade);
}

} // namespace teskal
