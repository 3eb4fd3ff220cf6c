#include "SheetFrame.h"

#include "controls/FittingScrollArea.h"
#include "controls/InkLabel.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int padding = 20;
constexpr int titleGap = 18;

} // namespace

SheetFrame::SheetFrame(const Theme& theme, const QString& title, QWidget& window)
    : ModalCard(theme, title, contentWidth + 2 * padding, window), content_(new QVBoxLayout) {
    auto* heading = new InkLabel(theme, TextRole::Title, &Ink::fg, &card());
    heading->setText(title);
    auto* done = makeButton(tr("Done"));
    done->setObjectName(QStringLiteral("doneButton"));

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(padding, 0, padding, 0);
    bar->addWidget(heading, 1);
    bar->addWidget(done);
    auto* inner = new QWidget;
    inner->setLayout(content_);
    content_->setSpacing(0);
    content_->setContentsMargins(padding, 0, padding, padding);
    auto* column = new QVBoxLayout(&card());
    column->setContentsMargins(0, padding, 0, 0);
    column->setSpacing(titleGap);
    column->addLayout(bar);
    column->addWidget(new FittingScrollArea(inner, &card()), 1);

    connect(done, &QAbstractButton::clicked, this, &SheetFrame::doneRequested);
    connect(this, &ModalCard::escaped, this, &SheetFrame::doneRequested);
}

} // namespace teskal
