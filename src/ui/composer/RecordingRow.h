#pragma once

#include "VoicePhase.h"

#include <QWidget>

namespace teskal {

class IconButton;
class InkLabel;
class LevelBars;
class Theme;

/// What stands in place of the text while the user speaks: how loud and how long, with the two ways to end
/// it; afterwards, that the words are being written down.
class RecordingRow : public QWidget {
    Q_OBJECT

public:
    explicit RecordingRow(const Theme& theme, QWidget* parent = nullptr);

    /// Shows the row's form for \a phase; it stays as it is when idle, when it should be hidden.
    void setPhase(VoicePhase phase);
    /// \a seconds since the recording began.
    void setElapsed(double seconds);
    /// \a level 0...1.
    void setLevel(double level);

    /// Gives the keyboard to the row's main action, or to the row where it has none.
    void takeFocus(Qt::FocusReason reason);

Q_SIGNALS:
    void useRequested();
    void cancelRequested();

private:
    LevelBars* bars_;
    InkLabel* elapsed_;
    InkLabel* transcribing_;
    IconButton* cancel_;
    IconButton* use_;
};

} // namespace teskal
