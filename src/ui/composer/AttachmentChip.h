#pragma once

#include "ComposerFile.h"
#include "controls/InkButton.h"

namespace teskal {

class ChipRemoveButton;

/// One file of the draft: an image's thumbnail, or a symbol with the name. Delete and Backspace remove it as
/// its button does; Left and Right ask for the neighbour.
class AttachmentChip : public InkButton {
    Q_OBJECT

public:
    AttachmentChip(const Theme& theme, const ComposerFile& file, QWidget* parent = nullptr);

    [[nodiscard]] quint64 number() const { return file_.number; }
    void setFile(const ComposerFile& file);

    /// How high every chip is, in pixels, with what its button takes above the card.
    static const int fullHeight;

    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    void removeRequested();
    /// The chip \a steps further (negative: back) should have the focus.
    void stepRequested(int steps);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    [[nodiscard]] bool isPicture() const { return !file_.preparing && !file_.thumbnail.isNull(); }
    [[nodiscard]] QString kind() const;
    [[nodiscard]] QString symbol() const;
    [[nodiscard]] QRectF card() const;
    void paintPicture(QPainter& painter) const;
    void paintNamed(QPainter& painter) const;

    ComposerFile file_;
    ChipRemoveButton* remove_;
};

} // namespace teskal
