#include "SearchField.h"

#include "controls/keyHint.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QAction>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

namespace teskal {

namespace {

constexpr int symbolSize = 16;
constexpr int symbolInset = 10;

} // namespace

SearchField::SearchField(const Theme& theme, QWidget* parent)
    : QLineEdit(parent), theme_(theme), clear_(addAction(QIcon(), QLineEdit::TrailingPosition)) {
    setObjectName(QStringLiteral("sidebarSearch"));
    setFrame(false);
    setFixedHeight(metrics::control);
    setFont(theme.font(TextRole::Body));
    setPlaceholderText(tr("Search"));
    setAccessibleName(tr("Search chats"));
    setToolTip(keyHint(tr("Search chats (⌘K)")));
    keepSpaceForSymbol();
    clear_->setText(tr("Clear the search"));
    clear_->setToolTip(tr("Clear the search"));
    clear_->setVisible(false);
    connect(clear_, &QAction::triggered, this, &QLineEdit::clear);
    connect(this, &QLineEdit::textChanged, clear_,
            [this](const QString& text) { clear_->setVisible(!text.isEmpty()); });
    connect(&theme, &Theme::changed, this, &SearchField::showIcons);
    showIcons();
}

void SearchField::showIcons() {
    clear_->setIcon(
        theme_.icons().pixmap(QStringLiteral("xmark"), symbolSize, theme_.ink().muted, devicePixelRatioF()));
    update();
}

void SearchField::keepSpaceForSymbol() {
    constexpr int lead = symbolInset + symbolSize; // the style adds a gap of its own
    if (layoutDirection() == Qt::RightToLeft)
        setTextMargins(0, 0, lead, 0);
    else
        setTextMargins(lead, 0, 0, 0);
}

void SearchField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        keepSpaceForSymbol();
}

void SearchField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        Q_EMIT focused();
}

void SearchField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        if (text().isEmpty())
            Q_EMIT left();
        else
            clear();
        return;
    case Qt::Key_Down:
        return Q_EMIT rowsWanted();
    default:
        QLineEdit::keyPressEvent(event);
    }
}

void SearchField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Ink& ink = theme_.ink();
        const bool focused = hasFocus();
        const double inset = focused ? metrics::focusRing / 2.0 : 0;
        painter.setBrush(ink.tint(0.045));
        painter.setPen(focused ? QPen(ink.accent, metrics::focusRing) : QPen(Qt::NoPen));
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), metrics::radiusSmall,
                                metrics::radiusSmall);
        const QRect symbol(symbolInset, 0, symbolSize, height());
        theme_.icons().paint(painter, QStyle::visualRect(layoutDirection(), rect(), symbol),
                             QStringLiteral("magnifyingglass"), symbolSize, ink.subtle);
    }
    QLineEdit::paintEvent(event);
}

} // namespace teskal
