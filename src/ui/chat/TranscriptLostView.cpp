#include "TranscriptLostView.h"

#include "controls/InkLabel.h"
#include "controls/PrimaryButton.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int gap = 16;

} // namespace

TranscriptLostView::TranscriptLostView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), reload_(new PrimaryButton(theme, tr("Reload"), this)) {
    setObjectName(QStringLiteral("transcriptLost"));
    reload_->setObjectName(QStringLiteral("reloadButton"));
    auto* text = new InkLabel(theme, TextRole::Body, &Ink::muted, this);
    text->setText(tr("This chat can’t be shown right now."));
    text->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(this);
    column->setSpacing(gap);
    column->addStretch();
    column->addWidget(text);
    column->addWidget(reload_, 0, Qt::AlignHCenter);
    column->addStretch();
    hide();

    connect(reload_, &QAbstractButton::clicked, this, &TranscriptLostView::reloadRequested);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void TranscriptLostView::focusButton() {
    reload_->setFocus(Qt::OtherFocusReason);
}

void TranscriptLostView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), theme_.ink().page);
}

} // namespace teskal
