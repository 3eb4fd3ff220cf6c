#include "RecordingRow.h"

#include "LevelBars.h"
#include "controls/IconButton.h"
#include "controls/InkLabel.h"

#include <QBoxLayout>

#include <cmath>

namespace teskal {

namespace {

constexpr int gap = 10;
/// From the row's edge to where text begins.
constexpr int textInset = 7;

QString minutesAndSeconds(double seconds) {
    const int whole = static_cast<int>(std::floor(seconds));
    return QString::asprintf("%d:%02d", whole / 60, whole % 60);
}

} // namespace

RecordingRow::RecordingRow(const Theme& theme, QWidget* parent)
    : QWidget(parent), bars_(new LevelBars(theme, this)),
      elapsed_(new InkLabel(theme, TextRole::Body, &Ink::fg, this)),
      transcribing_(new InkLabel(theme, TextRole::Reading, &Ink::muted, this)),
      cancel_(new IconButton(theme, QStringLiteral("xmark"), tr("Cancel recording"), this)),
      use_(new IconButton(theme, QStringLiteral("checkmark"), tr("Use what you said"), this)) {
    setObjectName(QStringLiteral("recordingRow"));
    elapsed_->setObjectName(QStringLiteral("elapsed"));
    transcribing_->setObjectName(QStringLiteral("transcribing"));
    transcribing_->setContentsMargins(textInset, 0, 0, 0);
    transcribing_->setText(tr("Transcribing…"));
    cancel_->setObjectName(QStringLiteral("cancelRecordingButton"));
    use_->setObjectName(QStringLiteral("useRecordingButton"));
    use_->setLook(IconButton::Look::Toned);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(gap);
    row->addWidget(cancel_);
    row->addWidget(bars_);
    row->addWidget(elapsed_);
    row->addWidget(transcribing_);
    row->addStretch();
    row->addWidget(use_);

    connect(cancel_, &QAbstractButton::clicked, this, &RecordingRow::cancelRequested);
    connect(use_, &QAbstractButton::clicked, this, &RecordingRow::useRequested);
    setElapsed(0);
    setPhase(VoicePhase::Recording);
}

void RecordingRow::setPhase(VoicePhase phase) {
    if (phase == VoicePhase::Idle)
        return;
    const bool recording = phase == VoicePhase::Recording;
    for (QWidget* widget : std::initializer_list<QWidget*>{bars_, elapsed_, cancel_, use_})
        widget->setVisible(recording);
    transcribing_->setVisible(!recording);
    setAccessibleName(recording ? tr("Recording") : transcribing_->text());
}

void RecordingRow::setElapsed(double seconds) {
    elapsed_->setText(minutesAndSeconds(seconds));
}

void RecordingRow::setLevel(double level) {
    bars_->setLevel(level);
}

void RecordingRow::takeFocus(Qt::FocusReason reason) {
    QWidget* const main = use_->isVisibleTo(this) ? use_ : static_cast<QWidget*>(this);
    main->setFocus(reason);
}

} // namespace teskal
