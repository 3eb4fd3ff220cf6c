#include "PrivacySettings.h"

#include "SettingRow.h"
#include "SettingsStatus.h"
#include "controls/CardView.h"
#include "controls/InkLabel.h"
#include "controls/Switch.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int rowPadding = 14;

QString explanation(const std::optional<qint64>& credits) {
    const QString what = PrivacySettings::tr(
        "Names, emails, phone numbers and similar details are swapped for aliases before your message "
        "reaches a model, and swapped back in the answer. Images and PDFs are sent as they are.");
    return credits ? what + PrivacySettings::tr(" +%1 credits per message.").arg(*credits) : what;
}

} // namespace

PrivacySettings::PrivacySettings(const Theme& theme, QWidget* parent)
    : SettingsPane(theme, parent), anonymize_(new Switch(theme)),
      row_(new SettingRow(theme, tr("Anonymize what models see"), anonymize_)),
      status_(new SettingsStatus(theme, this)) {
    anonymize_->setObjectName(QStringLiteral("anonymizeSwitch"));
    anonymize_->setAccessibleName(tr("Anonymize what models see"));
    connect(anonymize_, &QAbstractButton::clicked, this, &PrivacySettings::anonymizeRequested);

    addHeading(tr("Privacy"), purpose());
    auto* card = new CardView(theme, this);
    card->addRow(row_);
    column().addWidget(card);
    unsaved_ = addNote(tr("Settings can’t be saved on this deployment."));
    unsaved_->setObjectName(QStringLiteral("unsavedNote"));
    column().addWidget(status_);

    addSectionTitle(tr("Private chats"));
    auto* text = new InkLabel(theme, TextRole::Quiet, &Ink::muted);
    text->setText(tr("A private chat isn’t saved on this Mac or synced, and its files and results aren’t "
                     "stored. It disappears when you leave it."));
    text->setWordWrap(true);
    text->setContentsMargins(rowPadding, rowPadding, rowPadding, rowPadding);
    auto* privateCard = new CardView(theme, this);
    privateCard->addRow(text);
    column().addWidget(privateCard);
    addNote(tr("Your chats are encrypted when Teskal stores them. Language models never keep or train on "
               "your messages, and they see a private ID instead of your account."));
    column().addStretch(1);
    setState({});
}

QString PrivacySettings::purpose() {
    return tr("how Teskal handles your messages");
}

void PrivacySettings::setState(const PrivacyState& state) {
    anonymize_->setChecked(state.anonymize);
    anonymize_->setEnabled(state.known && state.enabled);
    row_->setExplanation(explanation(state.anonymizeCredits));
    unsaved_->setVisible(!state.enabled);
    status_->setStatus({}, state.error);
}

} // namespace teskal
