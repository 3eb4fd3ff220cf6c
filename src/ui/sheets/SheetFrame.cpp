#include "SheetFrame.h"

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
    bar->addWidget(heading, 1);
    bar->addWidget(done);
    content_->setSpacing(0);
    auto* column = new QVBoxLayout(&card());
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(titleGap);
    column->addLayout(bar);
    column->addLayout(content_, 1);

    connect(done, &QAbstractButton::clicked, this, &SheetFrame::doneRequested);
    connect(this, &ModalCard::escaped, this, &SheetFrame::doneRequested);
}

} // namespace teskal
