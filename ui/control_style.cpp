// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/control_style.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleFactory>
#include <QStyleOption>
#include <algorithm>

#include "ui/theme.h"

namespace vistrel {
namespace {

constexpr qreal kCorner = 4.0;
constexpr int kTextMargin = 3;
constexpr int kGrooveHeight = 4;
constexpr int kHandleSize = 14;
constexpr int kRadioSize = 14;

// Saves the painter's state for as long as it lives, and smooths edges.
class Drawing {
  public:
    explicit Drawing(QPainter* painter) : painter_(painter) {
        painter_->save();
        painter_->setRenderHint(QPainter::Antialiasing);
    }
    ~Drawing() { painter_->restore(); }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

  private:
    QPainter* painter_;
};

bool Has(const QStyleOption* option, QStyle::StateFlag flag) {
    return option->state.testFlag(flag);
}

QColor EdgeColour(const QStyleOption* option) {
    if (!Has(option, QStyle::State_Enabled)) return kAccentColour;
    return Has(option, QStyle::State_HasFocus) ? kFocusColour : kEdgeColour;
}

QColor SurfaceColour(const QStyleOption* option) {
    if (!Has(option, QStyle::State_Enabled)) return kBarGrooveColour;
    if (Has(option, QStyle::State_Sunken)) return kBarGrooveColour;
    return Has(option, QStyle::State_MouseOver) ? kAccentColour.lighter(130) : kAccentColour;
}

// A line of one pixel lies on the middle of pixels.
QRectF Inside(const QRect& rectangle) {
    return QRectF(rectangle).adjusted(0.5, 0.5, -0.5, -0.5);
}

void DrawBox(QPainter* painter, const QRect& rectangle, const QBrush& surface, const QColor& edge) {
    const Drawing drawing(painter);
    painter->setPen(edge);
    painter->setBrush(surface);
    painter->drawRoundedRect(Inside(rectangle), kCorner, kCorner);
}

void DrawButton(const QStyleOption* option, QPainter* painter) {
    const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
    QColor edge = EdgeColour(option);
    const bool isDefault =
        button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
    if (isDefault && edge == kEdgeColour) edge = kBarColour;
    DrawBox(painter, option->rect, SurfaceColour(option), edge);
}

void DrawMenuPanel(const QStyleOption* option, QPainter* painter) {
    const Drawing drawing(painter);
    painter->setPen(kEdgeColour);
    painter->setBrush(kSidebarColour);
    painter->drawRect(Inside(option->rect));
}

void DrawRadio(const QStyleOption* option, QPainter* painter) {
    const Drawing drawing(painter);
    QRectF circle(0, 0, kRadioSize, kRadioSize);
    circle.moveCenter(QRectF(option->rect).center());
    painter->setPen(EdgeColour(option));
    painter->setBrush(SurfaceColour(option));
    painter->drawEllipse(circle.adjusted(0.5, 0.5, -0.5, -0.5));
    if (!Has(option, QStyle::State_On)) return;
    painter->setPen(Qt::NoPen);
    painter->setBrush(Has(option, QStyle::State_Enabled) ? kBarColour : kFaintTextColour);
    painter->drawEllipse(circle.adjusted(4, 4, -4, -4));
}

void DrawCombo(const QStyleOptionComboBox* option, const QRect& arrow, QPainter* painter) {
    const Drawing drawing(painter);
    DrawBox(painter, option->rect, SurfaceColour(option), EdgeColour(option));
    const QPointF centre = QRectF(arrow).center();
    painter->setPen(QPen(option->palette.color(QPalette::ButtonText), 1.5));
    painter->drawPolyline(
        QPolygonF{centre + QPointF(-4, -2), centre + QPointF(0, 2), centre + QPointF(4, -2)});
}

void DrawSlider(const QStyleOptionSlider* option, const QRect& handle, QPainter* painter) {
    const Drawing drawing(painter);
    QRectF groove(option->rect.left(), 0, option->rect.width(), kGrooveHeight);
    groove.moveCenter(QRectF(option->rect).center());
    QRectF knob(0, 0, kHandleSize, kHandleSize);
    knob.moveCenter(QRectF(handle).center());

    painter->setPen(Qt::NoPen);
    painter->setBrush(kAccentColour);
    painter->drawRoundedRect(groove, kGrooveHeight / 2.0, kGrooveHeight / 2.0);
    painter->setPen(QPen(Has(option, QStyle::State_HasFocus) ? kFocusColour : kSidebarColour, 2));
    const bool lit = Has(option, QStyle::State_MouseOver) || Has(option, QStyle::State_Sunken);
    painter->setBrush(!Has(option, QStyle::State_Enabled) ? kFaintTextColour
                      : lit                               ? kTextColour
                                                          : kTextColour.darker(115));
    painter->drawEllipse(knob.adjusted(1, 1, -1, -1));
}

void DrawProgress(const QStyleOptionProgressBar* option, QPainter* painter) {
    const Drawing drawing(painter);
    const double range = std::max(1, option->maximum - option->minimum);
    const double share = std::clamp((option->progress - option->minimum) / range, 0.0, 1.0);
    QRectF bar(option->rect);
    bar.setWidth(bar.width() * share);
    QPainterPath outline;
    outline.addRoundedRect(option->rect, kCorner, kCorner);
    painter->setClipPath(outline, Qt::IntersectClip);
    painter->fillRect(bar, kBarColour);
}

}  // namespace

ControlStyle::ControlStyle() : QProxyStyle(QStyleFactory::create("Fusion")) {}

void ControlStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                 QPainter* painter, const QWidget* widget) const {
    switch (element) {
        case PE_PanelButtonCommand:
            return DrawButton(option, painter);
        case PE_IndicatorRadioButton:
            return DrawRadio(option, painter);
        case PE_PanelMenu:
            return DrawMenuPanel(option, painter);
        case PE_FrameLineEdit:
            return DrawBox(painter, option->rect, Qt::NoBrush, EdgeColour(option));
        default:
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void ControlStyle::drawControl(ControlElement element, const QStyleOption* option,
                               QPainter* painter, const QWidget* widget) const {
    const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
    const bool determinate = bar != nullptr && bar->maximum > bar->minimum;
    if (determinate && element == CE_ProgressBarGroove) {
        return DrawBox(painter, option->rect, kBarGrooveColour, kBarGrooveColour);
    }
    if (determinate && element == CE_ProgressBarContents) {
        return DrawProgress(bar, painter);
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void ControlStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                      QPainter* painter, const QWidget* widget) const {
    const auto* const combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control == CC_ComboBox && combo != nullptr && !combo->editable) {
        return DrawCombo(combo, subControlRect(control, option, SC_ComboBoxArrow, widget), painter);
    }
    const auto* const slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_Slider && slider != nullptr && slider->orientation == Qt::Horizontal) {
        return DrawSlider(slider, subControlRect(control, option, SC_SliderHandle, widget),
                          painter);
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

// Enter is a command of the program's own in menus, too, so Space has to choose there.
int ControlStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                            QStyleHintReturn* data) const {
    if (hint == SH_Menu_SpaceActivatesItem) return 1;
    return QProxyStyle::styleHint(hint, option, widget, data);
}

// Texts keep the same distance from the edge as in an edit box.
QRect ControlStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                   SubControl part, const QWidget* widget) const {
    const QRect rectangle = QProxyStyle::subControlRect(control, option, part, widget);
    const auto* const combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (combo == nullptr || combo->editable || part != SC_ComboBoxEditField) return rectangle;
    return rectangle.adjusted(kTextMargin, 0, 0, 0);
}

}  // namespace vistrel
