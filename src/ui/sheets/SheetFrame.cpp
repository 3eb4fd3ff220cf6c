#include "SheetFrame.h"

#include "controls/InkLabel.h"
#include "theme/Metrics.h"
#include "theme/SoftShadow.h"
#include "theme/Theme.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace teskal {

namespace {

constexpr int padding = 20;
constexpr int titleGap = 18;
constexpr int buttonPadding = 14;
constexpr double radius = 16;
constexpr double lightScrim = 0.30;
constexpr double darkScrim = 0.45;

/// A dialog to screen readers, though it is no window of its own.
class SheetInterface final : public QAccessibleWidget {
public:
    explicit SheetInterface(QWidget* sheet) : QAccessibleWidget(sheet, QAccessible::Dialog) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.modal = true;
        return state;
    }
};

QAccessibleInterface* sheetInterface(const QString&, QObject* object) {
    auto* sheet = qobject_cast<SheetFrame*>(object);
    return sheet ? new SheetInterface(sheet) : nullptr;
}

bool isQuit(const QKeyEvent& event) {
    return event.modifiers() == Qt::ControlModifier && event.key() == Qt::Key_Q;
}

} // namespace

SheetFrame::SheetFrame(const Theme& theme, const QString& title, QWidget& window)
    : QWidget(&window), theme_(theme), card_(new QWidget(this)), done_(makeButton(tr("Done"))),
      content_(new QVBoxLayout) {
    QAccessible::installFactory(sheetInterface);
    setAccessibleName(title);
    setFocusPolicy(Qt::ClickFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);
    auto* heading = new InkLabel(theme, TextRole::Title, &Ink::fg, card_);
    heading->setText(title);
    done_->setObjectName(QStringLiteral("doneButton"));

    auto* bar = new QHBoxLayout;
    bar->addWidget(heading, 1);
    bar->addWidget(done_);
    content_->setSpacing(0);
    auto* column = new QVBoxLayout(card_);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(titleGap);
    column->addLayout(bar);
    column->addLayout(content_, 1);
    hide();

    window.installEventFilter(this);
    card_->installEventFilter(this);
    connect(done_, &QAbstractButton::clicked, this, &SheetFrame::doneRequested);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget* /*before*/, QWidget* now) { keepFocus(now); });
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

QPushButton* SheetFrame::makeButton(const QString& text) {
    auto* button = new QPushButton(text, card_);
    QFont font = theme_.font(TextRole::Body);
    font.setWeight(QFont::Medium);
    button->setFont(font);
    button->setFixedWidth(QFontMetrics(font).horizontalAdvance(text) + 2 * buttonPadding);
    return button;
}

void SheetFrame::open() {
    if (!isHidden())
        return;
    QWidget* const focus = window()->focusWidget();
    focusBefore_ = qobject_cast<QMenuBar*>(focus) ? nullptr : focus;
    arrange();
    show();
    raise();
    setFocus(Qt::OtherFocusReason);
}

void SheetFrame::dismiss() {
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

void SheetFrame::keepFocus(QWidget* now) {
    if (isHidden() || !now || now->window() != window() || now == this || isAncestorOf(now))
        return;
    // Something behind asked for the keyboard: it gets it when the sheet is gone.
    if (!qobject_cast<QMenuBar*>(now))
        focusBefore_ = now;
    setFocus(Qt::OtherFocusReason);
}

bool SheetFrame::event(QEvent* event) {
    // Taking the override keeps the window's shortcuts from firing behind the sheet.
    if (event->type() == QEvent::ShortcutOverride && !isQuit(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

bool SheetFrame::eventFilter(QObject* watched, QEvent* event) {
    const bool isWindow = watched == parentWidget() && event->type() == QEvent::Resize;
    const bool isCard = watched == card_ && event->type() == QEvent::LayoutRequest;
    if ((isWindow || isCard) && !isHidden())
        arrange();
    return QWidget::eventFilter(watched, event);
}

bool SheetFrame::focusNextPrevChild(bool next) {
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

void SheetFrame::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->key() == Qt::Key_Escape)
        Q_EMIT doneRequested();
    else if (isReturn && done_->hasFocus())
        done_->click();
    else if (isReturn && default_ && default_->isVisible() && default_->isEnabled())
        default_->click();
    // No key in the sheet means anything to the window behind it.
}

void SheetFrame::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void SheetFrame::wheelEvent(QWheelEvent* event) {
    event->accept();
}

void SheetFrame::arrange() {
    setGeometry(parentWidget()->rect());
    const int cardWidth = contentWidth + 2 * padding;
    const int cardHeight = card_->layout()->totalHeightForWidth(cardWidth);
    card_->setGeometry((width() - cardWidth) / 2, std::max(0, (height() - cardHeight) / 2), cardWidth,
                       cardHeight);
    update();
}

void SheetFrame::paintEvent(QPaintEvent* /*event*/) {
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
