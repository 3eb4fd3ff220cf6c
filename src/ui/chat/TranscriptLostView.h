#pragma once

#include <QWidget>

namespace teskal {

class PrimaryButton;
class Theme;

/// Lies over the transcript when what draws it keeps failing, and lets the user try again.
class TranscriptLostView : public QWidget {
    Q_OBJECT

public:
    explicit TranscriptLostView(const Theme& theme, QWidget* parent = nullptr);

    void focusButton();

Q_SIGNALS:
    void reloadRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
    PrimaryButton* reload_;
};

} // namespace teskal
