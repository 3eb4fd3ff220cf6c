#pragma once

#include "SerialWorker.h"
#include "SpellChecker.h"

#include <QHash>
#include <QObject>
#include <QPixmap>

namespace teskal {

class AppModel;
class AttachPanel;
class ComposerView;
class MainWindow;

/// Ties the composer, and what is dropped around it, to the application model: drafts with their
/// files, and voice input.
class ComposerBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    ComposerBinding(AppModel& model, MainWindow& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void bindDraft();
    void bindFiles();
    void bindVoice();
    void showDraft();
    void showFiles();
    void showVoice();
    /// Has files picked for the draft that is on screen now, whatever is when they are.
    void openAttachPanel();
    /// No picture stays of a chat that is gone.
    void forgetThumbnails() { thumbnails_.clear(); }
    /// The picture of a file that is ready; null when it has none, or none yet.
    QPixmap thumbnailOf(quint64 number, const QString& dataUrl);

    AppModel& model_;
    ComposerView& composer_;
    MainWindow& window_;
    AttachPanel* attachPanel_ = nullptr; ///< made when it is first opened
    SpellChecker spelling_;
    QString attachSlot_; ///< the draft for which it was opened
    /// By the files' numbers; null for those that are being made or do not decode.
    QHash<quint64, QPixmap> thumbnails_;
    SerialWorker painter_;
};

} // namespace teskal
