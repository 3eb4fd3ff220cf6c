#include "ComposerBinding.h"

#include "AppModel.h"
#include "Attachments.h"
#include "MainWindow.h"
#include "TeskalCommands.h"
#include "Thumbnail.h"
#include "chat/DetailView.h"
#include "composer/AttachPanel.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"

#include <QEvent>

#include <memory>

namespace teskal {

namespace {

/// Covers a chip on a screen of three times the usual density.
constexpr QSize thumbnailBox(160, 160);
constexpr qsizetype mostThumbnails = 64;

} // namespace

ComposerBinding::ComposerBinding(AppModel& model, MainWindow& window)
    : model_(model), composer_(window.detail().composer()), window_(window),
      spelling_(&DictionaryPlaces::ofUser) {
    bindDraft();
    bindFiles();
    bindVoice();
    composer_.textView().setSpelling(spelling_);
    window_.installEventFilter(this);
    showDraft();
    showFiles();
    showVoice();
}

void ComposerBinding::bindDraft() {
    connect(&composer_, &ComposerView::textChanged, &model_, &AppModel::setDraft);
    connect(&composer_, &ComposerView::sendRequested, &model_, &AppModel::sendDraft);
    connect(&model_, &AppModel::draftSwitched, this, &ComposerBinding::showDraft);
    connect(&model_, &AppModel::draftChanged, this, [this] { composer_.setText(model_.draft()); });
    // What was written for a new chat can be brought back in the chat it became.
    connect(&model_, &AppModel::draftMoved, this, [this](const QString& from, const QString& to) {
        composer_.renameDraft(from, to);
        if (attachSlot_ == from)
            attachSlot_ = to;
    });
    // Nothing that one account wrote comes back in another's session; queued, for the model empties the
    // drafts on the same occasion.
    connect(&model_.auth(), &Auth::isSignedInChanged, &composer_, &ComposerView::forgetHistory,
            Qt::QueuedConnection);
    connect(&model_, &AppModel::focusComposer, &composer_, &ComposerView::focusText);
}

void ComposerBinding::bindFiles() {
    DetailView& detail = window_.detail();
    connect(&model_, &AppModel::draftFilesChanged, this, &ComposerBinding::showFiles);
    connect(&composer_, &ComposerView::attachRequested, this, &ComposerBinding::openAttachPanel);
    connect(&window_.commands(), &TeskalCommands::attachRequested, this, &ComposerBinding::openAttachPanel);
    const ChatStore& store = model_.store();
    connect(&store, &ChatStore::chatRemoved, this, &ComposerBinding::forgetThumbnails);
    connect(&store, &ChatStore::privateChatEnded, this, &ComposerBinding::forgetThumbnails);
    connect(&store, &ChatStore::listReset, this, &ComposerBinding::forgetThumbnails);
    connect(&composer_, &ComposerView::filesPasted, &model_, &AppModel::attach);
    connect(&composer_, &ComposerView::imagePasted, &model_,
            [this](const QImage& image) { model_.attachImage(image, QStringLiteral("Pasted image.png")); });
    connect(&composer_, &ComposerView::removeFileRequested, &model_, &AppModel::removeDraftFile);
    connect(&detail, &DetailView::filesDropped, &model_.transcript(), &TranscriptBridge::dropped);
    connect(&detail, &DetailView::imageDropped, this, [this](const QImage& image) {
        model_.attachImage(image, QStringLiteral("Dropped image.png"));
        composer_.focusText();
    });
}

void ComposerBinding::bindVoice() {
    const VoiceRecorder& recorder = model_.recorder();
    connect(&composer_, &ComposerView::voiceToggled, &model_, &AppModel::toggleVoice);
    connect(&composer_, &ComposerView::useRecordingRequested, &model_, &AppModel::finishVoice);
    connect(&recorder, &VoiceRecorder::stateChanged, this, &ComposerBinding::showVoice);
    connect(&recorder, &VoiceRecorder::elapsedChanged, this,
            [this] { composer_.setElapsed(model_.recorder().elapsed()); });
    connect(&recorder, &VoiceRecorder::levelChanged, this,
            [this] { composer_.setLevel(double(model_.recorder().level())); });
}

void ComposerBinding::openAttachPanel() {
    if (!attachPanel_) {
        // Not at the start: the patterns have the desktop's whole database of types read.
        attachPanel_ = new AttachPanel(window_, Attachments::pickerPatterns());
        connect(attachPanel_, &AttachPanel::chosen, &model_, [this](const QList<QUrl>& files) {
            model_.attachTo(attachSlot_, files);
            composer_.focusText();
        });
    }
    attachSlot_ = model_.draftSlot();
    attachPanel_->open();
}

bool ComposerBinding::eventFilter(QObject* watched, QEvent* event) {
    // A window that is only minimised is still seen to be there.
    if (watched == &window_ && event->type() == QEvent::Hide && !event->spontaneous())
        model_.discardRecording();
    return QObject::eventFilter(watched, event);
}

void ComposerBinding::showDraft() {
    composer_.showDraft(model_.draftSlot(), model_.draft());
    const ChatStore& store = model_.store();
    composer_.keepDrafts([&store](const QString& slot) { return slot.isEmpty() || store.chat(slot); });
}

void ComposerBinding::showFiles() {
    QList<ComposerFile> files;
    for (const DraftFile& file : model_.draftFiles()) {
        ComposerFile shown;
        shown.number = file.number;
        shown.name = file.preparing ? file.name : file.attachment.name;
        shown.mediaType = file.attachment.mediaType;
        shown.preparing = file.preparing;
        if (!file.preparing && shown.mediaType.startsWith(QLatin1String("image/")))
            shown.thumbnail = thumbnailOf(file.number, file.attachment.dataUrl.value_or(QString()));
        files.append(shown);
    }
    composer_.setFiles(files);
}

QPixmap ComposerBinding::thumbnailOf(quint64 number, const QString& dataUrl) {
    if (const auto known = thumbnails_.constFind(number); known != thumbnails_.cend())
        return *known;
    if (thumbnails_.size() >= mostThumbnails)
        thumbnails_.clear();
    thumbnails_.insert(number, QPixmap());
    const auto picture = std::make_shared<QImage>();
    painter_.run([picture, dataUrl] { *picture = thumbnail(dataUrl, thumbnailBox); },
                 [this, picture, number] {
                     if (picture->isNull() || !thumbnails_.contains(number))
                         return; // forgotten meanwhile
                     thumbnails_.insert(number, QPixmap::fromImage(*picture));
                     showFiles();
                 });
    return {};
}

void ComposerBinding::showVoice() {
    switch (model_.recorder().state()) {
    case VoiceRecorder::State::Recording:
        return composer_.setVoicePhase(VoicePhase::Recording);
    case VoiceRecorder::State::Transcribing:
        return composer_.setVoicePhase(VoicePhase::Transcribing);
    case VoiceRecorder::State::Idle:
    case VoiceRecorder::State::Denied:
    case VoiceRecorder::State::CouldNotStart:
        return composer_.setVoicePhase(VoicePhase::Idle);
    }
}

} // namespace teskal
