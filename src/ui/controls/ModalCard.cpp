#include "ModalCard.h"

#include "theme/SoftShadow.h"
#include "theme/Theme.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QLayout>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>

#include <algorithm>

namespace teskal {

namespace {

constexpr int buttonPadding = 14;
constexpr int leastAir = 16; ///< above and below a card that would rather be taller than the window
constexpr double radius = 16;
constexpr double lightScrim = 0.30;
constexpr double darkScrim = 0.45;

/// A dialog to screen readers, though it is no window of its own.
class ModalInterface final : public QAccessibleWidget {
public:
    explicit ModalInterface(QWidget* card) : QAccessibleWidget(card, QAccessible::Dialog) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.modal = true;
        return state;
    }
};

QAccessibleInterface* modalInterface(const QString&, QObject* object) {
    auto* card = qobject_cast<ModalCard*>(object);
    return card ? new ModalInterface(card) : nullptr;
}

const ModalCard* cardAround(const QWidget* widget) {
    while (widget && !qobject_cast<const ModalCard*>(widget))
        widget = widget->parentWidget();
    return static_cast<const ModalCard*>(widget);
}

bool isQuit(const QKeyEvent& event) {
    return event.modifiers() == Qt::ControlModifier && event.key() == Qt::Key_Q;
}

} // namespace

ModalCard::ModalCard(const Theme& theme, const QString& title, int cardWidth, QWidget& window)
    : QWidget(&window), theme_(theme), cardWidth_(cardWidth), card_(new QWidget(this)) {
    QAccessible::installFactory(modalInterface);
    setAccessibleName(title);
    setFocusPolicy(Qt::ClickFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);
    hide();

    window.installEventFilter(this);
    card_->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget* /*before*/, QWidget* now) { keepFocus(now); });
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

ModalCard::~ModalCard() {
    // An open card's widgets lose the focus when the card itself is no more than a widget.
    disconnect(qApp, nullptr, this, nullptr);
}

QPushButton* ModalCard::makeButton(const QString& text) {
    auto* button = new QPushButton(text, card_);
    QFont font = theme_.font(TextRole::Body);
    font.setWeight(QFont::Medium);
    button->setFont(font);
    button->setFixedWidth(QFontMetrics(font).horizontalAdvance(text) + 2 * buttonPadding);
    return button;
}

void ModalCard::open() {
    if (!isHidden())
        return;
    QWidget* const focus = window()->focusWidget();
    focusBefore_ = qobject_cast<QMenuBar*>(focus) ? nullptr : focus;
    arrange();
    show();
    raise();
    takeFocus();
}

void ModalCard::dismiss() {
    if (isHidden())
        return;
    // Taken first: hiding what has the focus hands it to a neighbour.
    const QPointer<QWidget> before = std::exchange(focusBefore_, nullptr);
    const QWidget* const focus = window()->focusWidget();
    const bool hadFocus = focus && (focus == this || isAncestorOf(focus));
    hide();
    if (!hadFocus)
        return;
    if (before && before->isVisible() && before->isEnabled())
        before->setFocus(Qt::OtherFocusReason);
    else
        Q_EMIT focusHomeless();
}

void ModalCard::takeFocus() {
    QWidget* const target = firstFocus_ ? firstFocus_ : this;
    target->setFocus(Qt::OtherFocusReason);
}

void ModalCard::keepFocus(QWidget* now) {
    // A card over this one keeps what it has, its own focus included.
    if (isHidden() || !now || now->window() != window() || cardAround(now))
        return;
    // Something behind asked for the keyboard: it gets it when the card is gone.
    if (!qobject_cast<QMenuBar*>(now))
        focusBefore_ = now;
    takeFocus();
}

bool ModalCard::event(QEvent* event) {
    // Taking the override keeps the window's shortcuts from firing behind the card.
    if (event->type() == QEvent::ShortcutOverride && !isQuit(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

bool ModalCard::eventFilter(QObject* watched, QEvent* event) {
    const bool isWindow = watched == parentWidget() && event->type() == QEvent::Resize;
    const bool isCard = watched == card_ && event->type() == QEvent::LayoutRequest;
    if ((isWindow || isCard) && !isHidden())
        arrange();
    return QWidget::eventFilter(watched, event);
}

bool ModalCard::focusNextPrevChild(bool next) {
    QWidget* const from = window()->focusWidget();
    QWidget* to = from;
    do {
        to = next ? to->nextInFocusChain() : to->previousInFocusChain();
        const bool canTake = to->focusPolicy() & Qt::TabFocus && to->isVisible() && to->isEnabled();
        if (canTake && isAncestorOf(to)) {
            to->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    } while (to != from);
    return true;
}

void ModalCard::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        Q_EMIT escaped();
    else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat())
        pressButton();
    // No key in the card means anything to the window behind it.
}

void ModalCard::pressButton() {
    auto* const focused = qobject_cast<QPushButton*>(window()->focusWidget());
    if (focused && isAncestorOf(focused))
        focused->click();
    else if (default_ && default_->isVisible() && default_->isEnabled())
        default_->click();
}

void ModalCard::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void ModalCard::wheelEvent(QWheelEvent* event) {
    event->accept();
}

void ModalCard::arrange() {
    setGeometry(parentWidget()->rect());
    const QLayout& layout = *card_->layout();
    // Only where something wraps does the width decide.
    const int wanted =
        layout.hasHeightForWidth() ? layout.totalHeightForWidth(cardWidth_) : layout.totalSizeHint().height();
    const int cardHeight = std::min(wanted, height() - 2 * leastAir);
    card_->setGeometry((width() - cardWidth_) / 2, std::max(0, (height() - cardHeight) / 2), cardWidth_,
                       cardHeight);
    card_->layout()->activate(); // the first picture is the last one
    update();
}

void ModalCard::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Ink& ink = theme_.ink();
    painter.fillRect(rect(),
                     QColor::fromRgbF(0, 0, 0, static_cast<float>(ink.dark ? darkScrim : lightScrim)));
    const QRectF card(card_->geometry());
    paintSoftShadow(painter, card, radius, ink.dark);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(ink.page);
    painter.setPen(QPen(ink.line, 1));
    painter.drawRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace teskal
