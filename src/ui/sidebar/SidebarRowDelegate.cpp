#include "SidebarRowDelegate.h"

#include "SidebarRows.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"
#include "theme/textDirection.h"

#include <QAbstractItemView>
#include <QLineEdit>
#include <QPainter>
#include <QScrollBar>

namespace teskal {

namespace {

constexpr int rowMargin = 8;
constexpr int textInset = 10;
constexpr int folderInset = 22; ///< of what is in a folder, and of its name behind the chevron
constexpr int dotSide = 7;
constexpr int chevronSize = 14;
constexpr int countGap = 8;
/// A heading is nearer to what it heads than to what is above it.
constexpr int headingDrop = 4;

bool isFiled(const QModelIndex& index) {
    return isFolder(index.parent());
}

} // namespace

SidebarRowDelegate::SidebarRowDelegate(const Theme& theme, QObject* parent)
    : QStyledItemDelegate(parent), theme_(theme) {}

QRect SidebarRowDelegate::pill(const QStyleOptionViewItem& option) {
    // The scroll bar takes the place of the margin on its side.
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    const bool scrolls = view != nullptr && view->verticalScrollBar()->isVisible();
    const QRect pill = option.rect.adjusted(rowMargin, 0, scrolls ? 0 : -rowMargin, 0);
    return QStyle::visualRect(option.direction, option.rect, pill);
}

void SidebarRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (sidebarKind(index)) {
    case SidebarKind::DateGroup:
        paintHeading(*painter, option, index);
        break;
    case SidebarKind::FolderHint:
        paintHint(*painter, option, index);
        break;
    case SidebarKind::Folder:
        paintGround(*painter, option, index);
        paintFolder(*painter, option, index);
        break;
    case SidebarKind::Chat:
        paintGround(*painter, option, index);
        paintChat(*painter, option, index);
        break;
    }
    painter->restore();
}

void SidebarRowDelegate::paintGround(QPainter& painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const {
    const Ink& ink = theme_.ink();
    const QRect place = pill(option);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    if (selected || option.state.testFlag(QStyle::State_MouseOver) || menuRow_ == index) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(selected ? ink.selected() : ink.hover());
        painter.drawRoundedRect(place, metrics::radiusSmall, metrics::radiusSmall);
    }
    if (ringVisible_ && option.state.testFlag(QStyle::State_HasFocus)) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ink.accent, metrics::focusRing));
        painter.drawRoundedRect(QRectF(place).adjusted(1, 1, -1, -1), metrics::radiusSmall - 1,
                                metrics::radiusSmall - 1);
    }
}

void SidebarRowDelegate::paintLine(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
                                   const QFont& font, const QColor& colour, const QString& text) const {
    painter.setFont(font);
    painter.setPen(colour);
    painter.setLayoutDirection(textDirection(text));
    painter.drawText(QStyle::visualRect(option.direction, pill(option), place),
                     int(QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter)) |
                         Qt::TextSingleLine,
                     QFontMetrics(font).elidedText(text, Qt::ElideRight, place.width()));
}

void SidebarRowDelegate::paintHeading(QPainter& painter, const QStyleOptionViewItem& option,
                                      const QModelIndex& index) const {
    const QRect place = pill(option).adjusted(textInset, headingDrop, -textInset, headingDrop);
    paintLine(painter, option, place, theme_.font(TextRole::Group), theme_.ink().muted,
              index.data().toString());
}

void SidebarRowDelegate::paintHint(QPainter& painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    const QRect all = pill(option);
    const QRect place = all.adjusted(textInset + folderInset, 0, -textInset, 0);
    painter.setFont(theme_.font(TextRole::Note));
    painter.setPen(theme_.ink().muted);
    painter.drawText(QStyle::visualRect(option.direction, all, place),
                     int(QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter)) |
                         Qt::TextWordWrap,
                     index.data().toString());
}

void SidebarRowDelegate::paintFolder(QPainter& painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const {
    const Ink& ink = theme_.ink();
    const QRect all = pill(option);
    QRect place = all.adjusted(textInset, 0, -textInset, 0);
    const QRect chevron(place.left(), place.top(), chevronSize, place.height());
    const QString closed = option.direction == Qt::RightToLeft ? QStringLiteral("chevron.left")
                                                               : QStringLiteral("chevron.right");
    theme_.icons().paint(painter, QStyle::visualRect(option.direction, all, chevron),
                         option.state.testFlag(QStyle::State_Open) ? QStringLiteral("chevron.down") : closed,
                         chevronSize, ink.muted);
    place.setLeft(place.left() + folderInset);
    if (const int count = index.data(SidebarCountRole).toInt(); count > 0) {
        const QFont font = theme_.font(TextRole::Note);
        const QString text = QLocale().toString(count);
        const int width = QFontMetrics(font).horizontalAdvance(text);
        const QRect end(place.right() - width + 1, place.top(), width + 1, place.height());
        paintLine(painter, option, end, font, ink.muted, text);
        place.setRight(end.left() - countGap);
    }
    QFont font = theme_.font(TextRole::Body);
    font.setWeight(QFont::Medium);
    paintLine(painter, option, place, font, ink.fg, index.data().toString());
}

void SidebarRowDelegate::paintChat(QPainter& painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    const Ink& ink = theme_.ink();
    const QRect all = pill(option);
    QRect place = all.adjusted(textInset + (isFiled(index) ? folderInset : 0), 0, -textInset, 0);
    if (index.data(SidebarAnsweringRole).toBool()) {
        const QRect dot(place.right() - dotSide + 1, place.center().y() - dotSide / 2, dotSide, dotSide);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink.accent);
        painter.drawEllipse(QRectF(QStyle::visualRect(option.direction, all, dot)));
        place.setRight(dot.left() - textInset);
    }
    QFont font = theme_.font(TextRole::Body);
    if (option.state.testFlag(QStyle::State_Selected))
        font.setWeight(QFont::Medium);
    paintLine(painter, option, place, font, ink.fg, index.data().toString());
}

QSize SidebarRowDelegate::sizeHint(const QStyleOptionViewItem& /*option*/,
                                   const QModelIndex& /*index*/) const {
    return {metrics::sidebarLeast, metrics::row};
}

QWidget* SidebarRowDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                          const QModelIndex& index) const {
    auto* field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("renameField"));
    field->setAccessibleName(isFolder(index) ? tr("Folder name") : tr("Chat title"));
    field->setFont(theme_.font(TextRole::Body));
    return field;
}

void SidebarRowDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    if (auto* field = qobject_cast<QLineEdit*>(editor)) {
        field->setText(index.data(Qt::EditRole).toString());
        field->selectAll();
    }
}

void SidebarRowDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                      const QModelIndex& index) const {
    const auto* field = qobject_cast<QLineEdit*>(editor);
    const QString name = field ? field->text().trimmed() : QString();
    if (!name.isEmpty() && name != index.data(Qt::EditRole).toString())
        Q_EMIT renamed(index, name);
}

void SidebarRowDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                              const QModelIndex& index) const {
    const QRect all = pill(option);
    const int before = isFolder(index) || isFiled(index) ? folderInset - 2 : 0;
    editor->setGeometry(QStyle::visualRect(option.direction, all, all.adjusted(before, 1, 0, -1)));
}

} // namespace teskal
