#include "SignedOutSettings.h"

#include "SettingsStatus.h"
#include "controls/InkLabel.h"
#include "controls/PrimaryButton.h"
#include "icons/PassholdMark.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int leastHeight = 260;
constexpr int sideMargin = 26;

} // namespace

SignedOutSettings::SignedOutSettings(const Theme& theme, const QString& purpose, QWidget* parent)
    : QWidget(parent), signIn_(new PrimaryButton(theme, {}, this)), status_(new SettingsStatus(theme, this)) {
    setMinimumHeight(leastHeight);
    signIn_->setObjectName(QStringLiteral("signInButton"));
    signIn_->setMark(PassholdMark::paint);
    connect(signIn_, &QAbstractButton::clicked, this, &SignedOutSettings::signInRequested);
    auto* headline = new InkLabel(theme, TextRole::Title, &Ink::fg, this);
    headline->setText(tr("Sign in to choose"));
    auto* about = new InkLabel(theme, TextRole::Body, &Ink::muted, this);
    about->setText(purpose);
    status_->setAlignment(Qt::AlignHCenter);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(sideMargin, sideMargin, sideMargin, sideMargin);
    column->setSpacing(0);
    column->addStretch(1);
    column->addWidget(headline, 0, Qt::AlignHCenter);
    column->addSpacing(4);
    column->addWidget(about, 0, Qt::AlignHCenter);
    column->addSpacing(20);
    column->addWidget(signIn_, 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(status_);
    column->addStretch(1);
    setState(false, {});
}

void SignedOutSettings::setState(bool signingIn, const QString& error) {
    signIn_->setText(signingIn ? tr("Waiting for Passhold…") : tr("Sign In with Passhold"));
    signIn_->setEnabled(!signingIn);
    signIn_->updateGeometry();
    status_->setStatus({}, error);
}

} // namespace teskal
