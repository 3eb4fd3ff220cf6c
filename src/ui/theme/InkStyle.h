#pragma once

#include "Ink.h"

#include <QProxyStyle>

namespace teskal {

/// Fusion with the surfaces, hairlines and radii of Ink, for everything that is not painted by a view of
/// ours: menus, scroll bars, tooltips, fields, dialog buttons, the splitter.
class InkStyle : public QProxyStyle {
    Q_OBJECT

public:
    explicit InkStyle(const Ink& ink);

    void setInk(const Ink& ink) { ink_ = ink; }
    [[nodiscard]] const Ink& ink() const { return ink_; }

    void polish(QWidget* widget) override;
    using QProxyStyle::polish;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                       SubControl subControl, const QWidget* widget) const override;
    [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
                                       const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                         const QWidget* widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option,
                                  const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override;
    [[nodiscard]] QIcon standardIcon(StandardPixmap icon, const QStyleOption* option,
                                     const QWidget* widget) const override;

private:
    void paintPanel(QPainter& painter, const QRect& rect, double radius, const QColor& ground,
                    const QColor& edge, double edgeWidth = 1) const;
    void paintMenuBarItem(QPainter& painter, const QStyleOption& option, const QWidget* widget) const;
    void paintMenuItem(QPainter& painter, const QStyleOption& option) const;
    void paintTick(QPainter& painter, const QRectF& box, const QColor& colour) const;
    void paintCheckBox(QPainter& painter, const QStyleOption& option) const;
    void paintButton(QPainter& painter, const QStyleOption& option) const;
    void paintScrollBar(QPainter& painter, const QStyleOptionComplex& option, const QWidget* widget) const;

    Ink ink_;
};

} // namespace teskal
