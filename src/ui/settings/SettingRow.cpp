#include "SettingRow.h"

#include "controls/InkLabel.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int rowPadding = 14;
constexpr int rowAir = 10;
constexpr int leastHeight = 48;
constexpr int controlGap = 20;
constexpr int detailGap = 8;

} // namespace

SettingRow::SettingRow(const Theme& theme, const QString& title, QWidget* control, QWidget* parent)
    : QWidget(parent), detail_(new InkLabel(theme, TextRole::Quiet, &Ink::muted, this)),
      explanation_(new InkLabel(theme, TextRole::Quiet, &Ink::muted, this)) {
    auto* heading = new InkLabel(theme, TextRole::Body, &Ink::fg, this);
    heading->setText(title);
    explanation_->setWordWrap(true);
    explanation_->hide();
    detail_->hide();

    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addStretch(1);
    auto* line = new QHBoxLayout;
    line->setSpacing(detailGap);
    line->addWidget(heading);
    line->addWidget(detail_);
    line->addStretch(1); // what is left over lies behind the words, in a mirrored window too
    words->addLayout(line);
    words->addWidget(explanation_);
    words->addStretch(1);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPadding, rowAir, rowPadding, rowAir);
    row->setSpacing(controlGap);
    row->addStrut(leastHeight - 2 * rowAir);
    row->addLayout(words, 1);
    if (control) {
        control->setParent(this);
        row->addWidget(control, 0, Qt::AlignVCenter);
    }
}

void SettingRow::setExplanation(const QString& text) {
    explanation_->setText(text);
    explanation_->setVisible(!text.isEmpty());
}

void SettingRow::setDetail(const QString& text) {
    detail_->setText(text);
    detail_->setVisible(!text.isEmpty());
}

QString SettingRow::detail() const {
    return detail_->text();
}

} // namespace teskal
