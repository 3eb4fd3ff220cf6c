#include "SettingsPane.h"

#include "controls/InkLabel.h"
#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int sideMargin = 26;
constexpr int topMargin = 18;
constexpr int bottomMargin = 24;
constexpr int textInset = 2;
constexpr int sectionGap = 18;
constexpr int titleGap = 8;
constexpr int buttonPadding = 14;

} // namespace

SettingsPane::SettingsPane(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), column_(new QVBoxLayout(this)) {
    column_->setContentsMargins(sideMargin, topMargin, sideMargin, bottomMargin);
    column_->setSpacing(0);
}

void SettingsPane::addHeading(const QString& name, const QString& purpose) {
    auto* strong = new InkLabel(theme_, TextRole::BodyStrong, &Ink::fg, this);
    strong->setText(name);
    auto* quiet = new InkLabel(theme_, TextRole::Body, &Ink::muted, this);
    quiet->setObjectName(QStringLiteral("purpose"));
    quiet->setText(purpose);
    auto* line = new QHBoxLayout;
    line->setContentsMargins(textInset, 0, textInset, 0);
    line->setSpacing(titleGap);
    line->addWidget(strong);
    line->addWidget(quiet);
    line->addStretch(1);
    column_->addLayout(line);
    column_->addSpacing(titleGap + 4);
}

void SettingsPane::addSectionTitle(const QString& title) {
    if (column_->count() > 0)
        column_->addSpacing(sectionGap);
    auto* label = new InkLabel(theme_, TextRole::Group, &Ink::muted, this);
    label->setText(title);
    label->setContentsMargins(textInset, 0, textInset, 0);
    column_->addWidget(label);
    column_->addSpacing(titleGap);
}

InkLabel* SettingsPane::addNote(const QString& text) {
    auto* note = new InkLabel(theme_, TextRole::Quiet, &Ink::muted, this);
    note->setText(text);
    note->setWordWrap(true);
    // Margins of its own: a note that is hidden leaves no gap.
    note->setContentsMargins(textInset, titleGap + 6, textInset, 0);
    column_->addWidget(note);
    return note;
}

QPushButton* SettingsPane::makeButton(const QString& text) {
    auto* button = new QPushButton(text, this);
    QFont font = theme_.font(TextRole::Body);
    font.setWeight(QFont::Medium);
    button->setFont(font);
    button->setFixedWidth(QFontMetrics(font).horizontalAdvance(text) + 2 * buttonPadding);
    button->setAutoDefault(true); // Return presses what has the focus
    return button;
}

} // namespace teskal
