#include "FindBar.h"

#include "controls/IconButton.h"
#include "controls/InkLabel.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace teskal {

namespace {

constexpr int inset = 5;
constexpr int fieldInset = 6;
constexpr int countGap = 8;
constexpr int symbolSize = 16;

IconButton* button(const Theme& theme, const QString& symbol, const QString& help, const QString& name,
                   QWidget* parent) {
    auto* made = new IconButton(theme, symbol, help, parent);
    made->setSymbolSize(symbolSize);
    made->setObjectName(name);
    return made;
}

} // namespace

FindBar::FindBar(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), field_(new QLineEdit(this)),
      count_(new InkLabel(theme, TextRole::Quiet, &Ink::muted, this)),
      previous_(button(theme, QStringLiteral("chevron.up"), tr("Find previous (⇧⌘G)"),
                       QStringLiteral("findPreviousButton"), this)),
      next_(button(theme, QStringLiteral("chevron.down"), tr("Find next (⌘G)"),
                   QStringLiteral("findNextButton"), this)) {
    setObjectName(QStringLiteral("findBar"));
    setAccessibleName(tr("Find in this chat"));
    field_->setObjectName(QStringLiteral("findField"));
    field_->setFrame(false);
    field_->setFont(theme.font(TextRole::Body));
    field_->setPlaceholderText(tr("Find in this chat"));
    field_->setAccessibleName(tr("Find in this chat"));
    count_->setObjectName(QStringLiteral("findCount"));
    auto* close =
        button(theme, QStringLiteral("xmark"), tr("Close"), QStringLiteral("findCloseButton"), this);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(inset + fieldInset, inset, inset, inset);
    row->setSpacing(0);
    row->addWidget(field_, 1);
    row->addSpacing(countGap);
    row->addWidget(count_);
    row->addSpacing(countGap);
    row->addWidget(previous_);
    row->addWidget(next_);
    row->addWidget(close);
    hide();

    connect(field_, &QLineEdit::textChanged, this, &FindBar::search);
    connect(previous_, &QAbstractButton::clicked, this, &FindBar::previousRequested);
    connect(next_, &QAbstractButton::clicked, this, &FindBar::nextRequested);
    connect(close, &QAbstractButton::clicked, this, &FindBar::dismiss);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
    setCount(0, 0);
}

bool FindBar::hasText() const {
    return !field_->text().isEmpty();
}

void FindBar::setAvailable(bool available) {
    available_ = available;
    if (!available)
        dismiss();
}

void FindBar::open() {
    if (!available_)
        return;
    QWidget* const focus = QApplication::focusWidget();
    if (focus && !isAncestorOf(focus))
        focusBefore_ = focus;
    const bool wasHidden = isHidden();
    show();
    raise();
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
    if (wasHidden && hasText())
        search();
}

void FindBar::dismiss() {
    if (isHidden())
        return;
    // Hiding what has the focus would hand it to a neighbour.
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    if (hadFocus && focusBefore_ && focusBefore_->isVisible())
        focusBefore_->setFocus(Qt::OtherFocusReason);
    else if (hadFocus)
        Q_EMIT focusHomeless();
    focusBefore_.clear();
    hide();
    Q_EMIT searchChanged({});
}

void FindBar::step(void (FindBar::*request)()) {
    if (isHidden())
        open();
    else if (hasText())
        Q_EMIT(this->*request)();
}

void FindBar::search() {
    Q_EMIT searchChanged(field_->text());
}

void FindBar::setCount(int active, int total) {
    previous_->setEnabled(total > 0);
    next_->setEnabled(total > 0);
    if (!hasText())
        showCount({});
    else if (total == 0)
        showCount(tr("No results"));
    else
        showCount(tr("%1 of %2").arg(active).arg(total));
}

void FindBar::showCount(const QString& count) {
    if (count == count_->text())
        return;
    count_->setText(count);
    // Said when the field is read, and as a change while the user stays in it.
    field_->setAccessibleDescription(count);
    QAccessibleEvent changed(field_, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&changed);
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        return dismiss();
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return event->modifiers().testFlag(Qt::ShiftModifier) ? findPrevious() : findNext();
    default:
        QWidget::keyPressEvent(event);
    }
}

void FindBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme_.ink();
    painter.setBrush(ink.card);
    painter.setPen(QPen(ink.line, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), metrics::radiusCard,
                            metrics::radiusCard);
}

} // namespace teskal
