#include "NameDialog.h"

#include "controls/InkLabel.h"
#include "dialogs/DialogMetrics.h"
#include "theme/Metrics.h"

#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

NameDialog::NameDialog(const Theme& theme, const QString& title, QLineEdit* field, const QString& submit,
                       QWidget& window)
    : ModalCard(theme, title, metrics::dialog, window), field_(field), submit_(makeButton(submit)) {
    setObjectName(QStringLiteral("nameDialog"));
    auto* heading = new InkLabel(theme, TextRole::Title, &Ink::fg, &card());
    heading->setText(title);
    field_->setObjectName(QStringLiteral("nameField"));
    submit_->setObjectName(QStringLiteral("submitButton"));
    submit_->setDefault(true);
    auto* cancel = makeButton(tr("Cancel"));
    cancel->setObjectName(QStringLiteral("cancelButton"));
    setDefaultButton(submit_);
    setFirstFocus(field_);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(metrics::dialogButtonGap);
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(submit_);
    auto* column = new QVBoxLayout(&card());
    column->setContentsMargins(metrics::dialogPadding, metrics::dialogPadding, metrics::dialogPadding,
                               metrics::dialogPadding);
    column->setSpacing(0);
    column->addWidget(heading);
    column->addSpacing(metrics::margin);
    column->addWidget(field_);
    column->addSpacing(metrics::dialogPadding);
    column->addLayout(buttons);
    QWidget::setTabOrder(field_, cancel);
    QWidget::setTabOrder(cancel, submit_);

    connect(field_, &QLineEdit::textChanged, this, &NameDialog::allowSubmit);
    connect(submit_, &QAbstractButton::clicked, this, &NameDialog::submit);
    connect(cancel, &QAbstractButton::clicked, this, &NameDialog::cancelled);
    connect(this, &ModalCard::escaped, this, &NameDialog::cancelled);
    allowSubmit();
}

void NameDialog::submit() {
    const QString name = field_->text().trimmed();
    if (!name.isEmpty())
        Q_EMIT submitted(name);
}

void NameDialog::allowSubmit() {
    submit_->setEnabled(!field_->text().trimmed().isEmpty());
}

} // namespace teskal
