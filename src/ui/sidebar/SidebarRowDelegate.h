#pragma once

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

namespace teskal {

class Theme;

/// Paints the rows of SidebarRows and makes the field in which a name is changed in its place.
class SidebarRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    SidebarRowDelegate(const Theme& theme, QObject* parent);

    /// Whether the current row shows the focus ring; it does after keys, not after clicks.
    void setRingVisible(bool visible) { ringVisible_ = visible; }
    /// The row that an open menu is about looks as if the pointer were on it.
    void setMenuRow(const QModelIndex& index) { menuRow_ = index; }
    /// The row without the space around it.
    [[nodiscard]] static QRect pill(const QStyleOptionViewItem& option);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

Q_SIGNALS:
    /// The user gave the chat or folder another name.
    void renamed(const QModelIndex& index, const QString& name) const;

private:
    void paintGround(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintHeading(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintHint(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintFolder(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintChat(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    /// The text on one line in \a place, which is that of a layout from left to right.
    void paintLine(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
                   const QFont& font, const QColor& colour, const QString& text) const;

    const Theme& theme_;
    bool ringVisible_ = false;
    QPersistentModelIndex menuRow_;
};

} // namespace teskal
