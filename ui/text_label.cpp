// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/text_label.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QTextOption>
#include <QToolTip>
#include <algorithm>
#include <cstddef>
#include <vector>

namespace vistrel {
namespace {

// Names of files have no blanks to break at.
std::vector<QString> Lines(const QString& text, const QFont& font, int width) {
    std::vector<QString> lines;
    for (const QString& paragraph : text.split('\n')) {
        QTextLayout layout(paragraph, font);
        layout.setTextOption([] {
            QTextOption option;
            option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
            return option;
        }());
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(width);
            lines.push_back(paragraph.mid(line.textStart(), line.textLength()));
        }
        layout.endLayout();
    }
    return lines;
}

// Lines are set a little tighter than the font asks for, so that three fit where the window has
// room for three of small letters.
int LineStep(const QFont& font) {
    return font.pixelSize() + 3;
}

// The pixels that a line's glyphs really use are fewer than its nominal height.
int InkHeight(const QFontMetrics& metrics) {
    return metrics.capHeight() + 2 * metrics.descent();
}

}  // namespace

TextLabel::TextLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
}

int TextLabel::VisibleLines() const {
    return std::max(1, height() / LineStep(font()));
}

bool TextLabel::Fits() const {
    if (!wordWrap()) return QFontMetrics(font()).horizontalAdvance(text()) <= width();
    return static_cast<int>(Lines(text(), font(), width()).size()) <= VisibleLines();
}

bool TextLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && !Fits()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
        return true;
    }
    return QLabel::event(event);
}

void TextLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    if (wordWrap()) {
        PaintLines(painter);
    } else {
        PaintLine(painter);
    }
}

// Some labels are lower than a line of their font; centred by its letters, it fits.
void TextLabel::PaintLine(QPainter& painter) const {
    const QFontMetrics metrics(font());
    const QString line = metrics.elidedText(text(), Qt::ElideMiddle, width());
    const int ink = InkHeight(metrics);
    painter.drawText(0, (height() - ink) / 2 + ink - metrics.descent(), line);
}

void TextLabel::PaintLines(QPainter& painter) const {
    std::vector<QString> lines = Lines(text(), font(), width());
    const auto visible = static_cast<std::size_t>(VisibleLines());
    if (lines.size() > visible) {
        for (std::size_t i = visible; i < lines.size(); ++i) lines[visible - 1] += lines[i];
        lines.resize(visible);
        lines.back() = QFontMetrics(font()).elidedText(lines.back(), Qt::ElideRight, width());
    }
    int baseline = font().pixelSize();
    for (const QString& line : lines) {
        painter.drawText(0, baseline, line);
        baseline += LineStep(font());
    }
}

}  // namespace vistrel
