#include "EmptyChatView.h"

#include "controls/InkLabel.h"
#include "icons/MarkView.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int markSide = 48;
constexpr int gap = 20;

} // namespace

EmptyChatView::EmptyChatView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), line_(new InkLabel(theme, TextRole::Headline, &Ink::fg, this)) {
    setObjectName(QStringLiteral("emptyChat"));
    line_->setObjectName(QStringLiteral("greeting"));
    line_->setAlignment(Qt::AlignCenter);
    line_->setWordWrap(true);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(metrics::air, 0, metrics::air, 0);
    column->setSpacing(0);
    column->addWidget(new MarkView(theme, markSide, this), 0, Qt::AlignHCenter);
    column->addSpacing(gap);
    column->addWidget(line_);
    setPrivate(false);
}

void EmptyChatView::setPrivate(bool isPrivate) {
    line_->setFont(theme_.font(isPrivate ? TextRole::Title : TextRole::Headline));
    line_->setText(isPrivate ? tr("Private chat. It isn’t saved, and disappears when you leave it.")
                             : tr("Ready when you are."));
}

} // namespace teskal
