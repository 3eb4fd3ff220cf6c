#include "KeysSheet.h"

#include "CopyButton.h"
#include "announce.h"
#include "controls/CardView.h"
#include "controls/InkLabel.h"
#include "settings/SettingRow.h"
#include "settings/SettingsStatus.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace teskal {

namespace {

constexpr int sectionGap = 18;
constexpr int headingGap = 8;
constexpr int rowPadding = 14;
constexpr int longestName = 100;
constexpr double codeScale = 0.94; ///< the sample's lines fit the sheet

QFont codeFont(const Theme& theme) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(theme.font(TextRole::Note).pointSizeF() * codeScale);
    return font;
}

QString sampleFor(const QString& baseUrl) {
    return QStringLiteral("curl %1/v1/chat \\\n"
                          "  -H \"Authorization: Bearer tkl_sk_…\" \\\n"
                          "  -H \"Content-Type: application/json\" \\\n"
                          "  -d '{\"messages\":[{\"role\":\"user\",\"content\":\"Hello, Teskal\"}]}'")
        .arg(baseUrl);
}

InkLabel* paragraph(const Theme& theme, TextRole role, const QString& text) {
    auto* label = new InkLabel(theme, role, &Ink::muted);
    label->setText(text);
    label->setWordWrap(true);
    return label;
}

/// A text to be copied, and the button for it.
QWidget* copyRow(InkLabel& text, CopyButton& button) {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(rowPadding, headingGap, rowPadding, headingGap);
    layout->setSpacing(metrics::margin);
    layout->addWidget(&text, 1);
    layout->addWidget(&button);
    return row;
}

} // namespace

KeysSheet::KeysSheet(const Theme& theme, QWidget& window) : SheetFrame(theme, tr("API Keys"), window) {
    setObjectName(QStringLiteral("keysSheet"));
    addIntroduction();
    addSample();
    addKeys();
    content().addStretch(1);
    setDefaultButton(create_);
    setState({});
}

void KeysSheet::addIntroduction() {
    content().addWidget(
        paragraph(theme(), TextRole::Body,
                  tr("Call Teskal from your own code. One endpoint, no model to choose: every "
                     "request is routed the same way as this chat.")));
}

void KeysSheet::addSample() {
    content().addSpacing(sectionGap - headingGap);
    auto* heading = new InkLabel(theme(), TextRole::Group, &Ink::muted);
    heading->setText(tr("Try it"));
    sample_ = new InkLabel(theme(), TextRole::Quiet, &Ink::fg);
    sample_->setObjectName(QStringLiteral("keysSample"));
    sample_->setFont(codeFont(theme()));
    sample_->setWordWrap(true);
    copySample_ = new CopyButton(theme());
    copySample_->setObjectName(QStringLiteral("copySampleButton"));
    connect(copySample_, &QAbstractButton::clicked, this, [this] { Q_EMIT copyRequested(sample_->text()); });
    auto* line = new QHBoxLayout;
    line->addWidget(heading, 1, Qt::AlignBottom);
    line->addWidget(copySample_);
    content().addLayout(line);
    content().addSpacing(headingGap);
    sample_->setContentsMargins(rowPadding, headingGap + 2, rowPadding, headingGap + 2);
    auto* card = new CardView(theme());
    card->addRow(sample_);
    content().addWidget(card);
    content().addSpacing(headingGap);
    content().addWidget(paragraph(theme(), TextRole::Quiet,
                                  tr("The response includes routed_to, the model that answered. Pass "
                                     "\"stream\": true to stream.")));
}

void KeysSheet::addKeys() {
    content().addSpacing(sectionGap);
    noStorage_ = paragraph(theme(), TextRole::Body, tr("Key storage isn’t configured on this deployment."));
    noStorage_->setObjectName(QStringLiteral("noKeyStorage"));
    content().addWidget(noStorage_);

    list_ = new QWidget;
    card_ = new CardView(theme());
    card_->setObjectName(QStringLiteral("keyList"));
    none_ = paragraph(theme(), TextRole::Body, tr("No keys yet."));
    none_->setObjectName(QStringLiteral("noKeys"));
    auto* column = new QVBoxLayout(list_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(card_);
    column->addWidget(none_);
    column->addSpacing(metrics::margin);
    column->addWidget(makeCreation());
    column->addWidget(makeSecret());
    content().addWidget(list_);
    status_ = new SettingsStatus(theme());
    content().addWidget(status_);
}

QWidget* KeysSheet::makeCreation() {
    name_ = new QLineEdit;
    name_->setObjectName(QStringLiteral("keyNameField"));
    name_->setPlaceholderText(tr("Key name, e.g. production"));
    name_->setAccessibleName(tr("Key name"));
    name_->setMaxLength(longestName);
    name_->setFont(theme().font(TextRole::Body));
    create_ = makeButton(tr("Create Key"));
    create_->setObjectName(QStringLiteral("createKeyButton"));
    create_->setDefault(true);
    connect(create_, &QAbstractButton::clicked, this, [this] { Q_EMIT createRequested(name_->text()); });
    auto* creation = new QWidget;
    auto* row = new QHBoxLayout(creation);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(headingGap);
    row->addWidget(name_, 1);
    row->addWidget(create_);
    return creation;
}

QWidget* KeysSheet::makeSecret() {
    auto* notice =
        paragraph(theme(), TextRole::Body, tr("Your new key. Copy it now, it won’t be shown again."));
    notice->setColour(&Ink::fg);
    notice->setContentsMargins(rowPadding, headingGap + 2, rowPadding, headingGap + 2);
    notice->setAccessibleName(notice->text());
    makeAlert(*notice); // it shows while the keyboard stays where the name was typed
    secret_ = new InkLabel(theme(), TextRole::Quiet, &Ink::fg);
    secret_->setObjectName(QStringLiteral("newKeySecret"));
    secret_->setFont(codeFont(theme()));
    secret_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    copySecret_ = new CopyButton(theme());
    copySecret_->setObjectName(QStringLiteral("copySecretButton"));
    connect(copySecret_, &QAbstractButton::clicked, this, [this] { Q_EMIT copyRequested(secret_->text()); });
    auto* card = new CardView(theme());
    card->addRow(notice);
    card->addRow(copyRow(*secret_, *copySecret_));
    secretCard_ = new QWidget;
    auto* column = new QVBoxLayout(secretCard_);
    column->setContentsMargins(0, metrics::margin, 0, 0);
    column->addWidget(card);
    return secretCard_;
}

void KeysSheet::setService(const QString& baseUrl) {
    sample_->setText(sampleFor(baseUrl));
}

void KeysSheet::reset() {
    name_->clear();
    copySample_->reset();
}

void KeysSheet::setState(const KeysState& state) {
    if (state.keys != shown_)
        rebuild(state.keys);
    card_->setVisible(!state.keys.isEmpty());
    none_->setVisible(state.known && state.keys.isEmpty());
    noStorage_->setVisible(!state.enabled);
    list_->setVisible(state.enabled);

    if (creating_ && !state.creating && !state.secret.isEmpty())
        name_->clear();
    creating_ = state.creating;
    // A button that is switched off loses the focus to its neighbour.
    if (state.creating && create_->hasFocus())
        name_->setFocus(Qt::OtherFocusReason);
    create_->setEnabled(!state.creating);

    if (secret_->text() != state.secret) {
        secret_->setText(state.secret);
        copySecret_->reset();
    }
    secretCard_->setVisible(!state.secret.isEmpty());
    const bool waits = state.loading && !state.known;
    status_->setStatus(waits ? tr("Loading keys…") : QString(), state.error);
}

void KeysSheet::rebuild(const QList<KeyRow>& keys) {
    // The button that was pressed goes with its row; the sheet keeps the keyboard.
    if (QWidget* const focus = window()->focusWidget(); focus && card_->isAncestorOf(focus))
        setFocus(Qt::OtherFocusReason);
    card_->clear();
    for (const KeyRow& key : keys) {
        auto* revoke = makeButton(tr("Revoke"));
        revoke->setObjectName(QStringLiteral("revokeButton"));
        revoke->setAccessibleName(tr("Revoke %1").arg(key.name));
        revoke->setEnabled(!key.revoking);
        connect(
            revoke, &QAbstractButton::clicked, this, [this, id = key.id] { Q_EMIT revokeRequested(id); },
            Qt::QueuedConnection);
        auto* row = new SettingRow(theme(), key.name, revoke);
        row->setDetail(key.detail);
        card_->addRow(row);
    }
    shown_ = keys;
}

} // namespace teskal
