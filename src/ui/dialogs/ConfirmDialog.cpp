#include "ConfirmDialog.h"

#include "controls/InkLabel.h"
#include "dialogs/DialogMetrics.h"
#include "theme/Theme.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

ConfirmDialog::ConfirmDialog(const Theme& theme, const QString& title, const QString& message,
                             QWidget& window)
    : ModalCard(theme, title, metrics::dialog, window), delete_(makeButton(tr("Delete"))) {
    setObjectName(QStringLiteral("confirmDialog"));
    setAccessibleDescription(message);
    auto* heading = new InkLabel(theme, TextRole::Title, &Ink::fg, &card());
    heading->setText(title);
    heading->setWordWrap(true);
    auto* words = new InkLabel(theme, TextRole::Body, &Ink::muted, &card());
    words->setObjectName(QStringLiteral("dialogMessage"));
    words->setText(message);
    words->setWordWrap(true);
    delete_->setObjectName(QStringLiteral("deleteButton"));
    auto* cancel = makeButton(tr("Cancel"));
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setDefault(true);
    setDefaultButton(cancel);
    setFirstFocus(cancel);
    QWidget::setTabOrder(cancel, delete_);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(metrics::dialogButtonGap);
    buttons->addStretch();
    buttons->addWidget(delete_);
    buttons->addWidget(cancel);
    auto* column = new QVBoxLayout(&card());
    column->setContentsMargins(metrics::dialogPadding, metrics::dialogPadding, metrics::dialogPadding,
                               metrics::dialogPadding);
    column->setSpacing(0);
    column->addWidget(heading);
    column->addSpacing(metrics::dialogTextGap);
    column->addWidget(words);
    column->addSpacing(metrics::dialogPadding);
    column->addLayout(buttons);

    connect(cancel, &QAbstractButton::clicked, this, &ConfirmDialog::cancelled);
    connect(this, &ModalCard::escaped, this, &ConfirmDialog::cancelled);
    connect(delete_, &QAbstractButton::clicked, this, &ConfirmDialog::confirmed);
    connect(&theme, &Theme::changed, this, &ConfirmDialog::takeColour);
    takeColour();
}

void ConfirmDialog::takeColour() {
    QPalette colours = delete_->palette();
    colours.setColor(QPalette::ButtonText, theme().ink().danger);
    delete_->setPalette(colours);
}

} // namespace teskal
