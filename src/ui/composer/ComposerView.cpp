#include "ComposerView.h"

#include "ComposerTextView.h"
#include "controls/IconButton.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QBoxLayout>
#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int leastHeight = 22;
constexpr int leastLargeHeight = 44;
constexpr int mostHeight = 240;
constexpr int paddingTop = 15;
constexpr int paddingBottom = 9;
constexpr int rowGap = 6; ///< above the buttons; the larger form has room enough in its text
constexpr int textInset = 17;
constexpr int buttonInset = 10;

} // namespace

ComposerView::ComposerView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), textView_(new ComposerTextView(theme, this)),
      send_(new IconButton(theme, QStringLiteral("arrow.up"), tr("Send (Return)"), this)),
      buttons_(new QHBoxLayout) {
    setObjectName(QStringLiteral("composer"));
    textView_->setObjectName(QStringLiteral("composerText"));
    textView_->setAccessibleName(tr("Message"));
    send_->setObjectName(QStringLiteral("sendButton"));
    send_->setLook(IconButton::Look::Solid);

    buttons_->setContentsMargins(buttonInset, rowGap, buttonInset, 0);
    buttons_->addStretch();
    buttons_->addWidget(send_);
    auto* field = new QHBoxLayout;
    field->setContentsMargins(textInset, 0, textInset - 4, 0);
    field->addWidget(textView_);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, paddingTop, 0, paddingBottom);
    column->setSpacing(0);
    column->addLayout(field);
    column->addLayout(buttons_);

    connect(textView_, &QPlainTextEdit::textChanged, this, [this] {
        // Also emitted when only formats or the composition differ.
        if (const QString now = text(); now != lastText_) {
            lastText_ = now;
            updateSend();
            Q_EMIT textChanged(now);
        }
    });
    connect(textView_, &ComposerTextView::compositionChanged, this, &ComposerView::updateSend);
    connect(textView_, &ComposerTextView::layoutChanged, this, &ComposerView::updateHeight);
    connect(textView_, &ComposerTextView::submitted, this, &ComposerView::submit);
    connect(send_, &QAbstractButton::clicked, this, &ComposerView::submit);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
    setFocusProxy(textView_);
    textView_->setFixedHeight(leastHeight);
    setBusy(false);
}

QString ComposerView::text() const {
    return textView_->toPlainText();
}

void ComposerView::setText(const QString& text) {
    textView_->replaceText(text);
}

void ComposerView::setBusy(bool busy) {
    busy_ = busy;
    textView_->setPlaceholderText(busy ? tr("Teskal is answering…") : tr("Ask anything"));
    textView_->viewport()->update(); // Qt repaints for a placeholder that appears, not for one that changes
    updateSend();
}

void ComposerView::setLarge(bool large) {
    large_ = large;
    buttons_->setContentsMargins(buttonInset, large ? 0 : rowGap, buttonInset, 0);
    updateHeight();
}

int ComposerView::cardHeight() const {
    return paddingTop + textView_->height() + (large_ ? 0 : rowGap) + metrics::control + paddingBottom;
}

void ComposerView::focusText() {
    textView_->setFocus(Qt::OtherFocusReason);
}

bool ComposerView::canSend() const {
    // What is being composed counts: sending commits it first.
    return !busy_ && !(lastText_ + textView_->composition()).trimmed().isEmpty();
}

void ComposerView::submit() {
    textView_->commitComposition();
    if (canSend())
        Q_EMIT sendRequested();
}

void ComposerView::updateSend() {
    send_->setEnabled(canSend());
}

void ComposerView::updateHeight() {
    const int used = textView_->usedHeight(mostHeight);
    const int height = std::clamp(used, large_ ? leastLargeHeight : leastHeight, mostHeight);
    textView_->setVerticalScrollBarPolicy(used > mostHeight ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    if (height == textView_->height())
        return;
    textView_->setFixedHeight(height);
    Q_EMIT cardHeightChanged();
}

void ComposerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme_.ink();
    painter.setPen(QPen(ink.line, 1));
    painter.setBrush(ink.card);
    const double radius = metrics::radiusComposer;
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void ComposerView::mousePressEvent(QMouseEvent* /*event*/) {
    focusText();
}

} // namespace teskal
