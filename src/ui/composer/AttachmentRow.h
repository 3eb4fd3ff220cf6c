#pragma once

#include "ComposerFile.h"

#include <QList>
#include <QScrollArea>

namespace teskal {

class AttachmentChip;
class Theme;

/// The files of the draft in one row that scrolls sideways. Tab leads to one of the chips, the arrow keys
/// from one to the next.
class AttachmentRow : public QScrollArea {
    Q_OBJECT

public:
    explicit AttachmentRow(const Theme& theme, QWidget* parent = nullptr);

    /// Chips of files that stay, known by their numbers, stay too. When the chip with the focus goes, its
    /// neighbour takes the focus.
    void setFiles(const QList<ComposerFile>& files);
    [[nodiscard]] bool isEmpty() const { return chips_.isEmpty(); }

Q_SIGNALS:
    void removeRequested(quint64 number);
    /// The chip with the focus went and no other is left.
    void focusHomeless();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    AttachmentChip* addChip(const ComposerFile& file);
    /// Has Tab lead over the chips, in their order, before it leads to the text.
    void orderTabs();
    void step(AttachmentChip* from, int steps);
    void focusChip(AttachmentChip* chip);
    /// Makes \a chip the one that Tab leads to.
    void setCurrent(AttachmentChip* chip);
    void showEdges();

    const Theme& theme_;
    QWidget* content_;
    QWidget* leftEdge_;
    QWidget* rightEdge_;
    QList<AttachmentChip*> chips_;
    AttachmentChip* current_ = nullptr;
    bool followsEnd_ = false; ///< a file that was just added stays in view
};

} // namespace teskal
