// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/sidebar.h"

#include <QComboBox>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QTextDocument>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "ui/theme.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

// Where a control is put. The cursor runs down from the top of the sidebar.
struct Place {
    ControlId id;
    int x;
    int width;
    int height;
    int before;   // added to the cursor first
    int advance;  // and behind the control
};

constexpr int kTop = 12;
constexpr int kLeft = 12;
constexpr int kWide = 266;
constexpr int kRight = 149;  // the right one of a pair
constexpr int kHalf = 129;

// Lies beside the controls, which keep their places.
class NarrowScrollBar : public QScrollBar {
  public:
    [[nodiscard]] QSize sizeHint() const override {
        return {Sidebar::kWidth - kLeft - kWide, QScrollBar::sizeHint().height()};
    }
};

constexpr std::array kPlaces = std::to_array<Place>({
    {ControlId::Title, kLeft, 116, 24, 0, 0},
    {ControlId::Batch, 148, 100, 24, 0, 0},
    {ControlId::Help, 252, 26, 24, 0, 30},
    {ControlId::ModelHeading, kLeft, kWide, 16, 0, 21},
    {ControlId::ModelName, kLeft, 194, 24, 0, 0},
    {ControlId::SelectModel, 210, 68, 28, 0, 33},
    {ControlId::DownloadModel, kLeft, kWide, 28, 0, 33},
    {ControlId::DownloadProgress, kLeft, kWide, 10, 0, 15},
    {ControlId::DownloadStatus, kLeft, kWide, 16, 0, 21},
    {ControlId::InputHeading, kLeft, kWide, 16, 10, 21},
    {ControlId::InputName, kLeft, kWide, 16, 0, 21},
    {ControlId::SelectFile, kLeft, kWide, 28, 0, 33},
    {ControlId::ProviderLabel, kLeft, kWide, 14, 0, 19},
    {ControlId::Provider, kLeft, kWide, 24, 0, 33},
    {ControlId::Generate, kLeft, kWide, 34, 0, 39},
    {ControlId::GenerateStatus, kLeft, kWide, 42, 0, 57},
    {ControlId::ViewerHeading, kLeft, kWide, 16, 0, 21},
    {ControlId::SharpMode, kLeft, kHalf, 22, 0, 0},
    {ControlId::GeneralMode, kRight, kHalf, 22, 0, 28},
    {ControlId::StereoLabel, kLeft, kWide, 14, 0, 19},
    {ControlId::StereoMode, kLeft, kWide, 24, 0, 35},
    {ControlId::FocusLabel, kLeft, kWide, 14, 0, 19},
    {ControlId::Focus, kLeft, kWide, 22, 0, 27},
    {ControlId::DepthLabel, kLeft, kWide, 14, 0, 19},
    {ControlId::Depth, kLeft, kWide, 22, 0, 31},
    {ControlId::Swap, kLeft, kHalf, 28, 0, 0},
    {ControlId::Reset, kRight, kHalf, 28, 0, 34},
    {ControlId::SaveImage, kLeft, kWide, 28, 0, 34},
});

constexpr std::array kViewerControls = {
    ControlId::ViewerHeading, ControlId::SharpMode,  ControlId::GeneralMode, ControlId::StereoLabel,
    ControlId::StereoMode,    ControlId::FocusLabel, ControlId::Focus,       ControlId::DepthLabel,
    ControlId::Depth,         ControlId::Swap,       ControlId::Reset,       ControlId::SaveImage};

// Only these leave no gap where they are hidden.
bool IsOptional(ControlId id) {
    return id == ControlId::DownloadModel || id == ControlId::DownloadProgress ||
           id == ControlId::DownloadStatus;
}

// Values from the settings may be anything.
int Truncated(double value) {
    if (std::isnan(value)) return 0;
    constexpr double kLargest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -kLargest, kLargest));
}

// What looks like HTML would be taken for it.
QString AsPlainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? "<span>" + text.toHtmlEscaped() + "</span>" : text;
}

// The value labels are English in every language.
QString ValueText(TextId label, int value) {
    return FromWide(Filled(EnglishText(label), {std::to_wstring(value)}));
}

}  // namespace

Sidebar::Sidebar(QWidget* parent, const AppSettings& settings)
    : QScrollArea(parent), panel_(new QWidget) {
    setObjectName(QString::number(static_cast<int>(ControlId::Sidebar)));
    QPalette colours = palette();
    colours.setColor(QPalette::Window, kSidebarColour);
    setPalette(colours);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new NarrowScrollBar);
    setWidgetResizable(true);
    setWidget(panel_);

    MakeModelSection();
    MakeInputSection(settings);
    MakeViewerSection(settings);
    LayoutSidebar();
}

void Sidebar::LayoutSidebar() {
    int cursor = kTop;
    int bottom = 0;
    for (const Place& place : kPlaces) {
        QWidget* const control = controls_.at(place.id);
        cursor += place.before;
        control->setGeometry(place.x, cursor, place.width, place.height);
        if (!IsOptional(place.id) || !control->isHidden()) cursor += place.advance;
        if (!control->isHidden()) bottom = control->geometry().bottom();
    }
    panel_->setMinimumHeight(bottom + 1);
}

// The wheel that scrolls the sidebar is not to change what comes under the mouse meanwhile.
bool Sidebar::eventFilter(QObject* watched, QEvent* event) {
    const bool scrolls = event->type() == QEvent::Wheel && verticalScrollBar()->maximum() > 0;
    const bool turns = qobject_cast<const QSlider*>(watched) != nullptr ||
                       qobject_cast<const QComboBox*>(watched) != nullptr;
    if (!scrolls || !turns || static_cast<const QWidget*>(watched)->hasFocus())
        return QScrollArea::eventFilter(watched, event);
    event->ignore();
    return true;
}

void Sidebar::ShowModel(std::wstring_view name, std::wstring_view path, bool downloadOffered) {
    modelName_->setText(FromWide(name));
    modelName_->setToolTip(AsPlainToolTip(FromWide(path)));
    downloadModel_->setVisible(downloadOffered);
    downloadProgress_->hide();
    downloadStatus_->hide();
    LayoutSidebar();
}

void Sidebar::ShowDownloadStart(std::wstring_view text) {
    downloadStatus_->setText(FromWide(text));
    Disable(*downloadModel_);
    ShowProgress();
}

void Sidebar::ShowDownload(int position, std::wstring_view text) {
    ShowProgress();
    // The bar ignores what is beyond its end.
    downloadProgress_->setValue(std::min(position, downloadProgress_->maximum()));
    downloadStatus_->setText(FromWide(text));
}

void Sidebar::ShowDownloadEnd(std::wstring_view text) {
    downloadProgress_->hide();
    downloadModel_->setEnabled(true);
    downloadStatus_->setText(FromWide(text));
    downloadStatus_->show();
    LayoutSidebar();
}

void Sidebar::ShowProgress() {
    if (!downloadProgress_->isHidden()) return;
    downloadProgress_->show();
    downloadStatus_->show();
    LayoutSidebar();
}

void Sidebar::ShowInput(std::wstring_view name) {
    inputName_->setText(FromWide(name));
}

void Sidebar::ShowStatus(std::wstring_view text) {
    generateStatus_->setText(FromWide(text));
}

void Sidebar::WithdrawStatus(std::wstring_view text) {
    if (generateStatus_->text() == FromWide(text)) generateStatus_->setText({});
}

void Sidebar::SetGenerateEnabled(bool enabled) {
    if (enabled) {
        generate_->setEnabled(true);
    } else {
        Disable(*generate_);
    }
}

void Sidebar::Disable(QPushButton& button) {
    if (window()->focusWidget() == &button) window()->setFocus();
    button.setEnabled(false);
}

void Sidebar::ShowViewerControls(bool shown) {
    for (const ControlId id : kViewerControls) controls_.at(id)->setVisible(shown);
    LayoutSidebar();
}

void Sidebar::SetViewMode(bool sharp) {
    (sharp ? sharpMode_ : generalMode_)->setChecked(true);
}

void Sidebar::SetStereoMode(std::int32_t mode) {
    stereoMode_->setCurrentIndex(mode);
}

void Sidebar::SetFocusDepth(double focus, double depth) {
    const auto show = [](QSlider* slider, QLabel* label, TextId text, double value) {
        const QSignalBlocker quiet(slider);
        slider->setValue(Truncated(value));
        label->setText(ValueText(text, Truncated(value)));
    };
    show(focus_, focusLabel_, TextId::FocusValue, focus);
    show(depth_, depthLabel_, TextId::DepthValue, depth);
}

}  // namespace vistrel
