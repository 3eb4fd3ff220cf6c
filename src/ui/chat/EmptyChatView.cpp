#include "EmptyChatView.h"

#include "controls/InkLabel.h"
#include "icons/MarkView.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int markSide = 48;
constexpr int gap = 20;

} // namespace

EmptyChatView::EmptyChatView(const Theme& theme, QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("emptyChat"));
    auto* headline = new InkLabel(theme, TextRole::Headline, &Ink::fg, this);
    headline->setText(tr("Ready when you are."));
    headline->setAlignment(Qt::AlignCenter);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new MarkView(theme, markSide, this), 0, Qt::AlignHCenter);
    column->addSpacing(gap);
    column->addWidget(headline);
}

} // namespace teskal
