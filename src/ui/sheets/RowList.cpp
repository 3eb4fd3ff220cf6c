#include "RowList.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"
#include "theme/textDirection.h"

#include <QAbstractListModel>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <functional>

namespace teskal {

namespace {

constexpr int rowPadding = 14;
constexpr int textGap = 8;

} // namespace

class RowList::Rows final : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    [[nodiscard]] int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(rows_.size());
    }

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole)
            return {};
        const SheetRow& row = rows_.at(index.row());
        QStringList texts{row.title, row.detail, row.figure};
        texts.removeAll(QString());
        return texts.join(QStringLiteral(", "));
    }

    [[nodiscard]] const QList<SheetRow>& rows() const { return rows_; }

    void setRows(const QList<SheetRow>& rows) {
        beginResetModel();
        rows_ = rows;
        endResetModel();
    }

private:
    QList<SheetRow> rows_;
};

namespace {

class RowDelegate final : public QStyledItemDelegate {
public:
    using RowOf = std::function<const SheetRow&(int)>;

    RowDelegate(const Theme& theme, RowOf rowOf, QListView& list)
        : QStyledItemDelegate(&list), theme_(theme), rowOf_(std::move(rowOf)), list_(list) {}

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& /*option*/,
                                 const QModelIndex& /*index*/) const override {
        return {0, metrics::row};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const SheetRow& row = rowOf_(index.row());
        const Ink& ink = theme_.ink();
        if (index.row() > 0)
            painter->fillRect(option.rect.left() + rowPadding, option.rect.top(),
                              option.rect.width() - 2 * rowPadding, 1, ink.line);
        if (list_.hasFocus() && index == list_.currentIndex()) {
            painter->save();
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(QPen(ink.accent, metrics::focusRing));
            painter->drawRoundedRect(QRectF(option.rect).adjusted(4, 3, -4, -2), metrics::radiusSmall - 2,
                                     metrics::radiusSmall - 2);
            painter->restore();
        }
        QRect room = option.rect.adjusted(rowPadding, 0, -rowPadding, 0);
        const QFont quiet = theme_.font(TextRole::Quiet);
        // Rounded up: what is a fraction too wide would be cut.
        const int figureNeeds =
            static_cast<int>(std::ceil(QFontMetricsF(quiet).horizontalAdvance(row.figure))) + 1;
        const int figureWidth = row.figure.isEmpty() ? 0 : std::min(figureNeeds, room.width() * 2 / 3);
        const auto draw = [&](const QRect& place, const QFont& font, const QColor& colour,
                              const QString& text, Qt::Alignment side) {
            painter->setFont(font);
            painter->setPen(colour);
            painter->setLayoutDirection(textDirection(text));
            painter->drawText(QStyle::visualRect(option.direction, option.rect, place),
                              static_cast<int>(QStyle::visualAlignment(option.direction, side) |
                                               Qt::AlignVCenter | Qt::TextSingleLine),
                              QFontMetrics(font).elidedText(text, Qt::ElideRight, place.width()));
        };
        draw(room.adjusted(room.width() - figureWidth, 0, 0, 0), quiet, ink.muted, row.figure,
             Qt::AlignRight);
        if (figureWidth > 0)
            room.adjust(0, 0, -figureWidth - textGap, 0);
        const QFont strong = theme_.font(TextRole::Body);
        draw(room, strong, ink.fg, row.title, Qt::AlignLeft);
        room.adjust(QFontMetrics(strong).horizontalAdvance(row.title) + textGap, 0, 0, 0);
        if (room.width() > 2 * textGap)
            draw(room, quiet, ink.muted, row.detail, Qt::AlignLeft);
    }

private:
    const Theme& theme_;
    RowOf rowOf_;
    QListView& list_;
};

} // namespace

RowList::RowList(const Theme& theme, int mostRows, QWidget* parent)
    : QListView(parent), mostRows_(mostRows), rows_(new Rows(this)) {
    setModel(rows_);
    setItemDelegate(new RowDelegate(
        theme, [this](int row) -> const SheetRow& { return rows_->rows().at(row); }, *this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    connect(&theme, &Theme::changed, this, [this] { viewport()->update(); });
}

RowList::~RowList() = default;

void RowList::setRows(const QList<SheetRow>& rows) {
    if (rows == rows_->rows())
        return;
    const int scrolled = verticalScrollBar()->value();
    const int current = currentIndex().row();
    rows_->setRows(rows);
    updateGeometry();
    if (current >= 0 && current < rows.size())
        setCurrentIndex(rows_->index(current));
    verticalScrollBar()->setValue(scrolled);
}

QList<SheetRow> RowList::rows() const {
    return rows_->rows();
}

QSize RowList::sizeHint() const {
    const auto seen = std::min<qsizetype>(rows_->rows().size(), mostRows_);
    return {0, static_cast<int>(seen) * metrics::row};
}

void RowList::keyPressEvent(QKeyEvent* event) {
    // These belong to the sheet around the list.
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        event->ignore();
    else
        QListView::keyPressEvent(event);
}

void RowList::wheelEvent(QWheelEvent* event) {
    // A list that has nothing to scroll leaves the wheel to what is around it.
    if (verticalScrollBar()->minimum() == verticalScrollBar()->maximum())
        event->ignore();
    else
        QListView::wheelEvent(event);
}

} // namespace teskal
