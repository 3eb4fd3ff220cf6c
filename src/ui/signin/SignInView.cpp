#include "SignInView.h"

#include "controls/InkLabel.h"
#include "controls/PrimaryButton.h"
#include "icons/MarkView.h"
#include "icons/PassholdMark.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int markSide = 58;
constexpr int textWidth = 440;

InkLabel* centred(InkLabel* label, const QString& text) {
    label->setText(text);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    return label;
}

} // namespace

SignInView::SignInView(const Theme& theme, QWidget* parent)
    : QWidget(parent), button_(new PrimaryButton(theme, tr("Sign in with Passhold"), this)),
      error_(new InkLabel(theme, TextRole::Body, &Ink::danger, this)) {
    setObjectName(QStringLiteral("signIn"));
    button_->setObjectName(QStringLiteral("signInButton"));
    button_->setMark(PassholdMark::paint);
    connect(button_, &QAbstractButton::clicked, this, &SignInView::signInRequested);
    error_->setObjectName(QStringLiteral("signInError"));
    error_->hide();

    auto* headline =
        centred(new InkLabel(theme, TextRole::Display, &Ink::fg, this), tr("Every model. One chat."));
    auto* lead = centred(new InkLabel(theme, TextRole::Lead, &Ink::muted, this),
                         tr("Ask anything. Teskal sends each message to the model that answers it best, and "
                            "tells you which one it was."));
    auto* note = centred(new InkLabel(theme, TextRole::Quiet, &Ink::subtle, this),
                         tr("New to Teskal? Signing in creates your account, with free credits to start."));
    centred(error_, {});

    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    column->addStretch(47);
    column->addWidget(new MarkView(theme, markSide, this), 0, Qt::AlignHCenter);
    column->addSpacing(26);
    column->addWidget(headline, 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(lead, 0, Qt::AlignHCenter);
    column->addSpacing(26);
    column->addWidget(button_, 0, Qt::AlignHCenter);
    column->addSpacing(14);
    column->addWidget(error_, 0, Qt::AlignHCenter);
    column->addWidget(note, 0, Qt::AlignHCenter);
    column->addStretch(53);
    error_->setContentsMargins(0, 0, 0, 10);
}

void SignInView::setSigningIn(bool signingIn) {
    button_->setText(signingIn ? tr("Waiting for Passhold…") : tr("Sign in with Passhold"));
    button_->setEnabled(!signingIn);
    button_->updateGeometry();
}

void SignInView::setError(const QString& error) {
    error_->setText(error);
    error_->setVisible(!error.isEmpty());
    if (!error.isEmpty()) {
        QAccessibleEvent alert(error_, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

void SignInView::focusButton() {
    button_->setFocus(Qt::OtherFocusReason);
}

} // namespace teskal
