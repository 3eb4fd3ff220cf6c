#include "InkStyle.h"

#include "Metrics.h"
#include "textDirection.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>

namespace teskal {

namespace {

constexpr int menuPadding = 5;
constexpr int menuItemHeight = 30;
constexpr int menuItemInset = 12;
constexpr int menuCheckColumn = 20;
constexpr int menuShortcutGap = 32;
constexpr int menuSeparatorHeight = 9;
constexpr int menuBarItemPadding = 10;
constexpr int fieldInset = 6;
constexpr int scrollBarExtent = 10;
constexpr int scrollThumb = 5;
constexpr int scrollThumbLeast = 28;

bool isSelected(const QStyleOption& option) {
    return option.state.testFlag(QStyle::State_Selected) && option.state.testFlag(QStyle::State_Enabled);
}

bool isHovered(const QStyleOption& option) {
    return option.state.testFlag(QStyle::State_MouseOver);
}

// Rounded corners of a popup need a translucent window, which X11 has only under a compositor.
bool popupsCanBeTranslucent() {
    return QGuiApplication::platformName() != QLatin1String("xcb");
}

/// Two chevrons in the colour of the style's Ink at the time.
class MoreIcon final : public QIconEngine {
public:
    explicit MoreIcon(const InkStyle* style) : style_(style) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
        if (!style_)
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(style_->ink().muted, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF middle = QRectF(rect).center();
        const double arm = rect.height() / 5.0;
        for (const double x : {middle.x() - arm, middle.x() + arm / 2})
            painter->drawPolyline(
                QPolygonF({{x, middle.y() - arm}, {x + arm, middle.y()}, {x, middle.y() + arm}}));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, picture.rect(), mode, state);
        return picture;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new MoreIcon(*this); }

private:
    QPointer<const InkStyle> style_;
};

} // namespace

InkStyle::InkStyle(const Ink& ink)
    : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))), ink_(ink) {}

void InkStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    if (qobject_cast<QMenu*>(widget) != nullptr && popupsCanBeTranslucent()) {
        widget->setAttribute(Qt::WA_TranslucentBackground);
        widget->setWindowFlag(Qt::FramelessWindowHint);
        widget->setWindowFlag(Qt::NoDropShadowWindowHint);
    }
}

void InkStyle::paintPanel(QPainter& painter, const QRect& rect, double radius, const QColor& ground,
                          const QColor& edge, double edgeWidth) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(ground);
    painter.setPen(QPen(edge, edgeWidth));
    const double inset = edgeWidth / 2;
    painter.drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), radius, radius);
    painter.restore();
}

void InkStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
    switch (element) {
    case PE_PanelMenu:
        if (popupsCanBeTranslucent())
            paintPanel(*painter, option->rect, metrics::radiusSmall + 2, ink_.card, ink_.line);
        else
            paintPanel(*painter, option->rect, 0, ink_.card, ink_.line);
        return;
    case PE_FrameMenu:
    case PE_PanelMenuBar:
    case PE_PanelStatusBar:
        return;
    case PE_PanelTipLabel:
        paintPanel(*painter, option->rect, 0, ink_.card, ink_.line);
        return;
    case PE_PanelLineEdit:
    case PE_FrameLineEdit: {
        // A field without a frame stands on the ground that its owner paints.
        if (const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
            frame != nullptr && frame->lineWidth == 0)
            return;
        const bool focused = option->state.testFlag(State_HasFocus);
        paintPanel(*painter, option->rect, metrics::radiusSmall, ink_.card, focused ? ink_.accent : ink_.line,
                   focused ? metrics::focusRing : 1);
        return;
    }
    case PE_IndicatorCheckBox:
        paintCheckBox(*painter, *option);
        return;
    case PE_PanelButtonCommand:
        paintButton(*painter, *option);
        return;
    case PE_FrameFocusRect:
        paintPanel(*painter, option->rect, metrics::radiusSmall, Qt::transparent, ink_.accent,
                   metrics::focusRing);
        return;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void InkStyle::paintTick(QPainter& painter, const QRectF& box, const QColor& colour) const {
    const auto at = [&](double x, double y) {
        return QPointF(box.left() + x * box.width(), box.top() + y * box.height());
    };
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF{at(0.16, 0.52), at(0.40, 0.76), at(0.84, 0.24)});
    painter.restore();
}

void InkStyle::paintCheckBox(QPainter& painter, const QStyleOption& option) const {
    const bool enabled = option.state.testFlag(State_Enabled);
    const bool on = option.state.testFlag(State_On);
    const QColor edge = enabled ? ink_.subtle : ink_.line;
    const QColor ground = on ? (enabled ? ink_.accent : ink_.subtle) : ink_.card;
    paintPanel(painter, option.rect, 4, ground, on ? ground : edge);
    if (on)
        paintTick(painter, QRectF(option.rect).adjusted(2, 2, -2, -2), ink_.card);
    else if (option.state.testFlag(State_NoChange))
        painter.fillRect(option.rect.adjusted(4, option.rect.height() / 2 - 1, -4, -option.rect.height() / 2),
                         edge);
}

void InkStyle::paintButton(QPainter& painter, const QStyleOption& option) const {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    const bool main = button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
    const bool down = option.state.testFlag(State_Sunken);
    QColor ground = main ? ink_.fg : ink_.card;
    if (!option.state.testFlag(State_Enabled))
        ground = main ? flattened(ink_.tint(0.35), ink_.page) : ink_.card;
    else if (down || isHovered(option))
        ground = main ? flattened(ink_.tint(0.86), ink_.card)
                      : flattened(ink_.tint(down ? 0.09 : 0.05), ink_.card);
    paintPanel(painter, option.rect, metrics::radiusSmall, ground, main ? ground : ink_.line);
    if (option.state.testFlag(State_HasFocus) && option.state.testFlag(State_KeyboardFocusChange))
        paintPanel(painter, option.rect, metrics::radiusSmall, Qt::transparent, ink_.accent,
                   metrics::focusRing);
}

void InkStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                           const QWidget* widget) const {
    switch (element) {
    case CE_MenuBarItem:
        paintMenuBarItem(*painter, *option, widget);
        return;
    case CE_MenuBarEmptyArea:
        painter->fillRect(option->rect, ink_.page);
        painter->fillRect(option->rect.left(), option->rect.bottom(), option->rect.width(), 1, ink_.line);
        return;
    case CE_MenuItem:
        paintMenuItem(*painter, *option);
        return;
    case CE_Splitter:
        painter->fillRect(option->rect, widget != nullptr && widget->hasFocus() ? ink_.accent : ink_.line);
        return;
    case CE_PushButtonLabel:
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
            button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton)) {
            QStyleOptionButton inverted(*button);
            inverted.palette.setColor(QPalette::ButtonText, ink_.page);
            QProxyStyle::drawControl(element, &inverted, painter, widget);
            return;
        }
        break;
    default:
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void InkStyle::paintMenuBarItem(QPainter& painter, const QStyleOption& option, const QWidget* widget) const {
    painter.fillRect(option.rect, ink_.page);
    painter.fillRect(option.rect.left(), option.rect.bottom(), option.rect.width(), 1, ink_.line);
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(&option);
    if (item == nullptr)
        return;
    if (isSelected(option)) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(option.state.testFlag(State_Sunken) ? ink_.selected() : ink_.hover());
        painter.drawRoundedRect(option.rect.adjusted(1, 3, -1, -4), 6, 6);
        painter.restore();
    }
    // Underlines show once the keyboard is in the menu bar.
    const bool byKeyboard = widget != nullptr && widget->hasFocus();
    const int mnemonic = byKeyboard ? Qt::TextShowMnemonic : Qt::TextHideMnemonic;
    painter.setPen(option.state.testFlag(State_Enabled) ? ink_.fg : ink_.subtle);
    painter.drawText(option.rect.adjusted(0, 0, 0, -1), Qt::AlignCenter | Qt::TextSingleLine | mnemonic,
                     item->text);
}

void InkStyle::paintMenuItem(QPainter& painter, const QStyleOption& option) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(&option);
    if (item == nullptr)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (item->menuItemType == QStyleOptionMenuItem::Separator) {
        const QRect& rect = option.rect;
        painter.fillRect(rect.left() + menuItemInset, rect.center().y(), rect.width() - 2 * menuItemInset, 1,
                         ink_.line);
        painter.restore();
        return;
    }
    const QRect row = option.rect.adjusted(menuPadding, 0, -menuPadding, 0);
    if (isSelected(option)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink_.selected());
        painter.drawRoundedRect(row, 6, 6);
    }
    const bool enabled = option.state.testFlag(State_Enabled);
    const bool checks = item->menuHasCheckableItems;
    const auto mirrored = [&](const QRect& rect) { return visualRect(option.direction, option.rect, rect); };
    const QRect inner = option.rect.adjusted(menuItemInset, 0, -menuItemInset, 0);
    if (checks && item->checked) {
        paintTick(painter, mirrored(QRect(inner.left(), inner.center().y() - 5, 12, 12)), ink_.fg);
    }
    const QRect words = inner.adjusted(checks ? menuCheckColumn : 0, 0, 0, 0);
    const qsizetype tab = item->text.indexOf(QLatin1Char('\t'));
    const QString title = tab < 0 ? item->text : item->text.left(tab);
    painter.setFont(item->font);
    painter.setPen(enabled ? ink_.fg : ink_.subtle);
    painter.setLayoutDirection(textDirection(title)); // the user's names for folders are among them
    const int flags = Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic;
    painter.drawText(mirrored(words),
                     flags | static_cast<int>(visualAlignment(option.direction, Qt::AlignLeft)), title);
    if (tab >= 0) {
        painter.setPen(enabled ? ink_.muted : ink_.subtle);
        painter.drawText(mirrored(words),
                         flags | static_cast<int>(visualAlignment(option.direction, Qt::AlignRight)),
                         item->text.mid(tab + 1));
    }
    if (item->menuItemType == QStyleOptionMenuItem::SubMenu) {
        QStyleOption arrow(option);
        arrow.rect = mirrored(QRect(inner.right() - 10, inner.center().y() - 5, 10, 10));
        drawPrimitive(option.direction == Qt::RightToLeft ? PE_IndicatorArrowLeft : PE_IndicatorArrowRight,
                      &arrow, &painter, nullptr);
    }
    painter.restore();
}

void InkStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                  QPainter* painter, const QWidget* widget) const {
    if (control == CC_ScrollBar)
        paintScrollBar(*painter, *option, widget);
    else
        QProxyStyle::drawComplexControl(control, option, painter, widget);
}

void InkStyle::paintScrollBar(QPainter& painter, const QStyleOptionComplex& option,
                              const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(&option);
    if (slider == nullptr || slider->minimum == slider->maximum)
        return;
    QRectF thumb = subControlRect(CC_ScrollBar, slider, SC_ScrollBarSlider, widget);
    const double side = (scrollBarExtent - scrollThumb) / 2.0;
    thumb = slider->orientation == Qt::Vertical ? thumb.adjusted(side, 2, -side, -2)
                                                : thumb.adjusted(2, side, -2, -side);
    const bool held = option.state.testFlag(State_Sunken) && slider->activeSubControls == SC_ScrollBarSlider;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink_.tint(held ? 0.42 : isHovered(option) ? 0.30 : 0.16));
    painter.drawRoundedRect(thumb, scrollThumb / 2.0, scrollThumb / 2.0);
    painter.restore();
}

QRect InkStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                               SubControl subControl, const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || slider == nullptr)
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    const QRect& rect = option->rect;
    const bool vertical = slider->orientation == Qt::Vertical;
    const int length = vertical ? rect.height() : rect.width();
    const qint64 range = static_cast<qint64>(slider->maximum) - slider->minimum;
    int thumb = length;
    if (range > 0) {
        const qint64 share = static_cast<qint64>(slider->pageStep) * length / (range + slider->pageStep);
        thumb = std::clamp(static_cast<int>(share), std::min(scrollThumbLeast, length), length);
    }
    const int start = sliderPositionFromValue(slider->minimum, slider->maximum, slider->sliderPosition,
                                              length - thumb, slider->upsideDown);
    const auto along = [&](int from, int to) {
        const QRect part = vertical ? QRect(rect.left(), rect.top() + from, rect.width(), to - from)
                                    : QRect(rect.left() + from, rect.top(), to - from, rect.height());
        return visualRect(slider->direction, rect, part);
    };
    switch (subControl) {
    case SC_ScrollBarGroove:
        return rect;
    case SC_ScrollBarSlider:
        return along(start, start + thumb);
    case SC_ScrollBarSubPage:
        return along(0, start);
    case SC_ScrollBarAddPage:
        return along(start + thumb, length);
    default:
        return {};
    }
}

QRect InkStyle::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    return element == SE_LineEditContents ? rect.adjusted(fieldInset, 0, -fieldInset, 0) : rect;
}

QSize InkStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                 const QWidget* widget) const {
    switch (type) {
    case CT_MenuBarItem:
        return {size.width() + 2 * menuBarItemPadding, metrics::menuBar};
    case CT_MenuItem: {
        const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (item == nullptr)
            break;
        if (item->menuItemType == QStyleOptionMenuItem::Separator)
            return {size.width(), menuSeparatorHeight};
        const qsizetype tab = item->text.indexOf(QLatin1Char('\t'));
        int width = size.width() + 2 * menuItemInset;
        if (tab >= 0)
            width += menuShortcutGap;
        if (item->menuHasCheckableItems)
            width += menuCheckColumn;
        if (item->menuItemType == QStyleOptionMenuItem::SubMenu)
            width += menuCheckColumn;
        return {std::max(width, 160), std::max(menuItemHeight, size.height() + 8)};
    }
    case CT_PushButton: {
        const QSize base = QProxyStyle::sizeFromContents(type, option, size, widget);
        return {std::max(base.width() + 8, 72), std::max(base.height(), metrics::control)};
    }
    case CT_LineEdit: {
        const QSize base = QProxyStyle::sizeFromContents(type, option, size, widget);
        return {base.width() + 2 * fieldInset, std::max(base.height(), metrics::control)};
    }
    default:
        break;
    }
    return QProxyStyle::sizeFromContents(type, option, size, widget);
}

int InkStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_MenuBarHMargin:
        return 7;
    case PM_MenuBarVMargin:
    case PM_MenuBarItemSpacing:
    case PM_MenuBarPanelWidth:
    case PM_MenuHMargin:
        return 0;
    case PM_MenuVMargin:
        return menuPadding;
    case PM_MenuPanelWidth:
        return 1;
    case PM_ScrollBarExtent:
        return scrollBarExtent;
    case PM_ScrollView_ScrollBarSpacing:
        return 0;
    case PM_ToolTipLabelFrameWidth:
        return 6;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int InkStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                        QStyleHintReturn* result) const {
    switch (hint) {
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_ScrollView_FrameOnlyAroundContents:
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return 0;
    case SH_ToolTipLabel_Opacity:
        return 255;
    case SH_ScrollBar_LeftClickAbsolutePosition:
        return 0;
    case SH_BlinkCursorWhenTextSelected:
        return 1;
    default:
        return QProxyStyle::styleHint(hint, option, widget, result);
    }
}

QIcon InkStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    // Every menu bar has one, seen or not, and Fusion's is a file: it would have all image formats loaded.
    if (icon == SP_ToolBarHorizontalExtensionButton)
        return QIcon(new MoreIcon(this));
    return QProxyStyle::standardIcon(icon, option, widget);
}

} // namespace teskal
