#include "ComposerView.h"

#include "AttachmentChip.h"
#include "AttachmentRow.h"
#include "ComposerTextView.h"
#include "DraftDocuments.h"
#include "RecordingRow.h"
#include "controls/IconButton.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int leastHeight = 22;
constexpr int leastLargeHeight = 44;
constexpr int mostHeight = 240;
constexpr int paddingTop = 15;
constexpr int paddingBottom = 9;
constexpr int rowGap = 6; ///< above the buttons; the larger form has room enough in its text
constexpr int textInset = 17;
constexpr int buttonInset = 10;
constexpr int buttonGap = 4;
constexpr int chipsInset = 12;
constexpr int chipsGap = 10; ///< between the chips and the text
/// The chips begin nearer to the edge than text does.
constexpr int chipsRise = 8;

bool isBlank(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar letter) { return letter.isSpace(); });
}

bool hasFocusWithin(const QWidget& widget) {
    const QWidget* const focus = QApplication::focusWidget();
    return focus && (focus == &widget || widget.isAncestorOf(focus));
}

} // namespace

ComposerView::ComposerView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), chips_(new AttachmentRow(theme, this)),
      textView_(new ComposerTextView(theme, this)), recording_(new RecordingRow(theme, this)),
      attach_(new IconButton(theme, QStringLiteral("plus"), tr("Attach images or PDFs (⌘U)"), this)),
      dictate_(new IconButton(theme, QStringLiteral("mic"), tr("Dictate"), this)),
      send_(new IconButton(theme, QStringLiteral("arrow.up"), tr("Send (Return)"), this)),
      chipsLine_(new QHBoxLayout), buttons_(new QHBoxLayout),
      documents_(std::make_unique<DraftDocuments>(*textView_->document(), *textView_)) {
    setObjectName(QStringLiteral("composer"));
    textView_->setObjectName(QStringLiteral("composerText"));
    textView_->setAccessibleName(tr("Message"));
    attach_->setObjectName(QStringLiteral("attachButton"));
    dictate_->setObjectName(QStringLiteral("dictateButton"));
    send_->setObjectName(QStringLiteral("sendButton"));
    send_->setLook(IconButton::Look::Solid);
    chips_->hide();
    recording_->hide();

    chipsLine_->addWidget(chips_);
    auto* field = new QHBoxLayout;
    field->setContentsMargins(textInset, 0, textInset - 4, 0);
    field->addWidget(textView_);
    auto* recording = new QHBoxLayout;
    recording->setContentsMargins(buttonInset, 0, buttonInset, 0);
    recording->addWidget(recording_);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    column->addLayout(chipsLine_);
    column->addLayout(field);
    column->addLayout(recording);
    column->addLayout(arrangeButtons());

    connectParts();
    textView_->setFixedHeight(leastHeight);
    setBusy(false);
    updateHeight();
}

ComposerView::~ComposerView() = default;

QBoxLayout* ComposerView::arrangeButtons() {
    buttons_->setContentsMargins(buttonInset, rowGap, buttonInset, 0);
    buttons_->setSpacing(buttonGap);
    buttons_->addWidget(attach_);
    buttons_->addStretch();
    buttons_->addWidget(dictate_);
    buttons_->addWidget(send_);
    return buttons_;
}

void ComposerView::connectParts() {
    connect(textView_, &QPlainTextEdit::textChanged, this, &ComposerView::textEdited);
    connect(textView_, &ComposerTextView::compositionChanged, this, &ComposerView::updateSend);
    connect(textView_, &ComposerTextView::layoutChanged, this, &ComposerView::updateHeight);
    connect(textView_, &ComposerTextView::submitted, this, &ComposerView::submit);
    connect(textView_, &ComposerTextView::filesPasted, this, &ComposerView::filesPasted);
    connect(textView_, &ComposerTextView::imagePasted, this, &ComposerView::imagePasted);
    connect(chips_, &AttachmentRow::removeRequested, this, &ComposerView::removeFileRequested);
    connect(chips_, &AttachmentRow::focusHomeless, this, &ComposerView::focusText);
    connect(recording_, &RecordingRow::useRequested, this, &ComposerView::useRecordingRequested);
    connect(recording_, &RecordingRow::cancelRequested, this, &ComposerView::toggleVoice);
    connect(attach_, &QAbstractButton::clicked, this, &ComposerView::attachRequested);
    connect(dictate_, &QAbstractButton::clicked, this, &ComposerView::toggleVoice);
    connect(send_, &QAbstractButton::clicked, this, &ComposerView::submit);
    connect(&theme_, &Theme::changed, this, qOverload<>(&QWidget::update));
}

QString ComposerView::text() const {
    return textView_->text();
}

void ComposerView::setText(const QString& text) {
    if (text != lastText_)
        textView_->replaceText(text);
}

void ComposerView::textEdited() {
    if (switching_)
        return;
    // Also called when only formats or the composition differ.
    if (QString now = text(); now != lastText_) {
        lastText_ = std::move(now);
        updateSend();
        Q_EMIT textChanged(lastText_);
    }
}

void ComposerView::showDraft(const QString& slot, const QString& text) {
    switching_ = true; // what another draft holds is no change of this one
    textView_->showDocument(documents_->of(slot));
    textView_->replaceText(text);
    switching_ = false;
    lastText_ = this->text();
    updateSend();
}

void ComposerView::renameDraft(const QString& from, const QString& to) {
    documents_->rename(from, to);
}

void ComposerView::keepDrafts(const std::function<bool(const QString&)>& stays) {
    documents_->keepOnly(stays);
}

void ComposerView::forgetHistory() {
    documents_->keepOnly([](const QString&) { return false; });
    textView_->document()->clearUndoRedoStacks();
}

void ComposerView::setFiles(const QList<ComposerFile>& files) {
    preparing_ =
        std::any_of(files.begin(), files.end(), [](const ComposerFile& file) { return file.preparing; });
    chips_->setFiles(files);
    chips_->setVisible(!files.isEmpty());
    updateSend();
    updateHeight();
}

void ComposerView::setVoicePhase(VoicePhase phase) {
    if (phase == voice_)
        return;
    const bool byKeyboard = hasFocusWithin(*dictate_);
    const bool hadFocus = byKeyboard || hasFocusWithin(*textView_) || hasFocusWithin(*recording_);
    voice_ = phase;
    const bool idle = phase == VoicePhase::Idle;
    if (!idle)
        textView_->commitComposition(); // while it can be seen
    recording_->setPhase(phase);
    recording_->setVisible(!idle);
    textView_->setVisible(idle);
    dictate_->setLook(phase == VoicePhase::Recording ? IconButton::Look::Toned : IconButton::Look::Quiet);
    dictate_->setEnabled(phase != VoicePhase::Transcribing);
    updateHeight();
    if (hadFocus)
        takeFocus(byKeyboard ? Qt::TabFocusReason : Qt::OtherFocusReason); // as the ring shows
}

void ComposerView::toggleVoice() {
    if (!hasFocusWithin(*this))
        focusText(); // the recording's keys follow the click that began it
    Q_EMIT voiceToggled();
}

void ComposerView::setElapsed(double seconds) {
    recording_->setElapsed(seconds);
}

void ComposerView::setLevel(double level) {
    recording_->setLevel(level);
}

void ComposerView::setBusy(bool busy) {
    busy_ = busy;
    textView_->setPlaceholderText(busy ? tr("Teskal is answering…") : tr("Ask anything"));
    textView_->viewport()->update(); // Qt repaints for a placeholder that appears, not for one that changes
    updateSend();
}

void ComposerView::setLarge(bool large) {
    large_ = large;
    buttons_->setContentsMargins(buttonInset, large ? 0 : rowGap, buttonInset, 0);
    updateHeight();
}

int ComposerView::cardHeight() const {
    const int chips = chips_->isEmpty() ? 0 : chips_->height() + chipsGap - chipsRise;
    const int field = voice_ == VoicePhase::Idle ? textView_->height() : recording_->height();
    return paddingTop + chips + field + (large_ ? 0 : rowGap) + metrics::control + paddingBottom;
}

void ComposerView::focusText() {
    takeFocus(Qt::OtherFocusReason);
}

void ComposerView::takeFocus(Qt::FocusReason reason) {
    if (voice_ == VoicePhase::Idle)
        textView_->setFocus(reason);
    else
        recording_->takeFocus(reason);
}

bool ComposerView::canSend() const {
    // What is being composed counts: sending commits it first.
    return !busy_ && !preparing_ &&
           (!chips_->isEmpty() || !isBlank(lastText_) || !isBlank(textView_->composition()));
}

void ComposerView::submit() {
    textView_->commitComposition();
    if (!canSend())
        return;
    if (!hasFocusWithin(*textView_))
        focusText(); // the button may be off when all is sent, and what follows is typed
    Q_EMIT sendRequested();
}

void ComposerView::updateSend() {
    send_->setEnabled(canSend());
    // Why it is off, where that is not plain from an empty field.
    send_->setAccessibleDescription(busy_        ? textView_->placeholderText()
                                    : preparing_ ? tr("Preparing…")
                                                 : QString());
}

void ComposerView::updateHeight() {
    const int used = textView_->usedHeight(mostHeight);
    const int height = std::clamp(used, large_ ? leastLargeHeight : leastHeight, mostHeight);
    textView_->setVerticalScrollBarPolicy(used > mostHeight ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    textView_->setFixedHeight(height);
    recording_->setFixedHeight(large_ ? leastLargeHeight : metrics::control);
    const bool chips = !chips_->isEmpty();
    layout()->setContentsMargins(0, chips ? paddingTop - chipsRise : paddingTop, 0, paddingBottom);
    chipsLine_->setContentsMargins(chipsInset, 0, chipsInset, chips ? chipsGap : 0);
    if (const int wanted = cardHeight(); wanted != lastHeight_) {
        lastHeight_ = wanted;
        Q_EMIT cardHeightChanged();
    }
}

void ComposerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme_.ink();
    painter.setPen(QPen(ink.line, 1));
    painter.setBrush(ink.card);
    const double radius = metrics::radiusComposer;
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void ComposerView::mousePressEvent(QMouseEvent* /*event*/) {
    focusText();
}

void ComposerView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && voice_ == VoicePhase::Recording)
        toggleVoice();
    else
        QWidget::keyPressEvent(event);
}

} // namespace teskal
