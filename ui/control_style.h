// SPDX-License-Identifier: GPL-3.0-or-later
// Draws buttons, boxes, sliders and bars flat and dark; leaves the rest to Qt's Fusion style, but
// for Space, which chooses in menus.
#pragma once

#include <QProxyStyle>

namespace vistrel {

class ControlStyle : public QProxyStyle {
  public:
    ControlStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;
};

}  // namespace vistrel
