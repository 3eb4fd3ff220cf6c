#pragma once

#include <QStyledItemDelegate>

namespace teskal {

class Theme;

/// Paints one chat: its title on one line, and the accent's dot while it is answering.
class ChatRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    ChatRowDelegate(const Theme& theme, QObject* parent);

    /// Whether the current row shows the focus ring; it does after keys, not after clicks.
    void setRingVisible(bool visible) { ringVisible_ = visible; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    const Theme& theme_;
    bool ringVisible_ = false;
};

} // namespace teskal
