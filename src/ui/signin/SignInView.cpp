#include "SignInView.h"

#include "controls/AlertLabel.h"
#include "controls/PrimaryButton.h"
#include "icons/MarkView.h"
#include "icons/PassholdMark.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int markSide = 58;
constexpr int textWidth = 440;
constexpr int noteWidth = 520;
constexpr int errorGap = 12;
constexpr int leadLineHeight = 125; ///< per cent

// A wrapping label inside centred layouts is given one line unless its height is said outright.
void setWrapped(InkLabel& label, const QString& text, int width) {
    label.setText(text);
    label.setFixedWidth(width);
    label.setFixedHeight(label.heightForWidth(width));
}

InkLabel* centred(InkLabel* label) {
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

// The one paragraph that is read rather than glanced at has air between its lines.
void setLead(InkLabel& label, const QString& text) {
    label.setTextFormat(Qt::RichText);
    label.setAccessibleName(text);
    setWrapped(label,
               QStringLiteral("<p align=\"center\" style=\"line-height:%1%; margin:0\">%2</p>")
                   .arg(leadLineHeight)
                   .arg(text.toHtmlEscaped()),
               textWidth);
}

} // namespace

SignInView::SignInView(const Theme& theme, QWidget* parent)
    : QWidget(parent), button_(new PrimaryButton(theme, tr("Sign in with Passhold"), this)),
      error_(new AlertLabel(theme, TextRole::Body, this)) {
    setObjectName(QStringLiteral("signIn"));
    button_->setObjectName(QStringLiteral("signInButton"));
    button_->setMark(PassholdMark::paint);
    connect(button_, &QAbstractButton::clicked, this, &SignInView::signInRequested);
    error_->setObjectName(QStringLiteral("signInError"));
    error_->hide();

    auto* headline = centred(new InkLabel(theme, TextRole::Display, &Ink::fg, this));
    setWrapped(*headline, tr("Every model. One chat."), noteWidth);
    auto* lead = centred(new InkLabel(theme, TextRole::Lead, &Ink::muted, this));
    setLead(*lead,
            tr("Ask anything. Teskal sends each message to the model that answers it best, and tells you "
               "which one it was."));
    auto* note = centred(new InkLabel(theme, TextRole::Quiet, &Ink::muted, this));
    setWrapped(*note, tr("New to Teskal? Signing in creates your account, with free credits to start."),
               noteWidth);
    centred(error_)->setAlignment(Qt::AlignHCenter | Qt::AlignTop);

    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    column->addStretch(1);
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
    column->addStretch(1);
}

void SignInView::setSigningIn(bool signingIn) {
    button_->setText(signingIn ? tr("Waiting for Passhold…") : tr("Sign in with Passhold"));
    button_->setEnabled(!signingIn);
    button_->updateGeometry();
    // A disabled button has lost the focus; give it back for the next try.
    if (!signingIn && isVisible())
        focusButton();
}

void SignInView::setError(const QString& error) {
    error_->say(error, true);
    error_->setFixedWidth(textWidth);
    error_->setFixedHeight(error_->heightForWidth(textWidth) + errorGap);
    error_->setVisible(!error.isEmpty());
}

void SignInView::focusButton() {
    button_->setFocus(Qt::OtherFocusReason);
}

} // namespace teskal
