#include "GeneralSettings.h"

#include "SettingRow.h"
#include "SettingsStatus.h"
#include "controls/CardView.h"
#include "controls/PrimaryButton.h"
#include "controls/SegmentedPicker.h"
#include "icons/PassholdMark.h"
#include "theme/Theme.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int rowPadding = 14;

} // namespace

GeneralSettings::GeneralSettings(const Theme& theme, QWidget* parent) : SettingsPane(theme, parent) {
    addAppearance();
    addAccount();
    addData();
    column().addStretch(1);
    setState({});
}

void GeneralSettings::addAppearance() {
    addSectionTitle(tr("Appearance"));
    // In the order of Appearance.
    picker_ = new SegmentedPicker(theme(), {tr("System"), tr("Light"), tr("Dark")}, this);
    picker_->setObjectName(QStringLiteral("themePicker"));
    picker_->setAccessibleName(tr("Theme"));
    connect(picker_, &SegmentedPicker::currentChanged, this,
            [this](int index) { Q_EMIT appearanceChosen(static_cast<Appearance>(index)); });
    auto* card = new CardView(theme(), this);
    card->addRow(new SettingRow(theme(), tr("Theme"), picker_));
    column().addWidget(card);
}

void GeneralSettings::addAccount() {
    addSectionTitle(tr("Account"));
    auto* signOut = makeButton(tr("Sign Out"));
    signOut->setObjectName(QStringLiteral("signOutButton"));
    connect(signOut, &QAbstractButton::clicked, this, &GeneralSettings::signOutRequested);
    account_ = new SettingRow(theme(), tr("Signed in as"), signOut);
    signIn_ = new PrimaryButton(theme(), {}, this);
    signIn_->setObjectName(QStringLiteral("signInButton"));
    signIn_->setMark(PassholdMark::paint);
    connect(signIn_, &QAbstractButton::clicked, this, &GeneralSettings::signInRequested);
    noAccount_ = new QWidget;
    auto* row = new QHBoxLayout(noAccount_);
    row->setContentsMargins(rowPadding, rowPadding, rowPadding, rowPadding);
    row->addWidget(signIn_);
    row->addStretch(1);
    auto* card = new CardView(theme(), this);
    card->addRow(account_);
    card->addRow(noAccount_);
    column().addWidget(card);
    status_ = new SettingsStatus(theme(), this);
    column().addWidget(status_);
}

void GeneralSettings::addData() {
    addSectionTitle(tr("Data"));
    auto* reveal = makeButton(tr("Show in Finder"));
    reveal->setObjectName(QStringLiteral("revealButton"));
    connect(reveal, &QAbstractButton::clicked, this, &GeneralSettings::revealRequested);
    deleteAll_ = makeButton(tr("Delete All Chats…"));
    deleteAll_->setObjectName(QStringLiteral("deleteAllButton"));
    connect(deleteAll_, &QAbstractButton::clicked, this, &GeneralSettings::deleteAllRequested);
    auto* buttons = new QWidget(this);
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(reveal);
    row->addWidget(deleteAll_);
    auto* card = new CardView(theme(), this);
    card->addRow(new SettingRow(theme(), tr("Chats are kept on this Mac"), buttons));
    column().addWidget(card);
}

void GeneralSettings::setAppearance(Appearance appearance) {
    picker_->setCurrent(static_cast<int>(appearance));
}

void GeneralSettings::setState(const GeneralState& state) {
    account_->setDetail(state.name);
    account_->setVisible(state.signedIn);
    noAccount_->setVisible(!state.signedIn);
    signIn_->setText(state.signingIn ? tr("Waiting for Passhold…") : tr("Sign In with Passhold"));
    signIn_->setEnabled(!state.signingIn);
    signIn_->updateGeometry();
    status_->setStatus({}, state.signedIn ? QString() : state.error);
    deleteAll_->setEnabled(state.hasChats);
}

} // namespace teskal
