#include "shell/window/sidebar.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "ui/settings.h"
#include "ui/spoken_text.h"
#include "ui/text_label.h"
#include "ui/theme.h"
#include "ui/ui_text.h"
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

constexpr std::array<Place, 28> kPlaces = {{
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
}};

constexpr std::array kViewerControls = {
    ControlId::ViewerHeading, ControlId::SharpMode,  ControlId::GeneralMode, ControlId::StereoLabel,
    ControlId::StereoMode,    ControlId::FocusLabel, ControlId::Focus,       ControlId::DepthLabel,
    ControlId::Depth,         ControlId::Swap,       ControlId::Reset,       ControlId::SaveImage};

// Only these leave no gap where they are hidden.
bool IsOptional(ControlId id) {
    return id == ControlId::DownloadModel || id == ControlId::DownloadProgress ||
           id == ControlId::DownloadStatus;
}

// The value labels are English in every language.
constexpr TextId kFocusText = TextId::FocusValue;
constexpr TextId kDepthText = TextId::DepthValue;

// A combo box tells its value as its name to screen readers, and what it is for by its label. Its
// list tells neither.
void NameByLabel(QComboBox* combo, QLabel* label) {
    label->setBuddy(combo);
    combo->setAccessibleName(label->text());
    combo->view()->setAccessibleName(label->text());
}

// Values from the settings may be anything.
int Truncated(double value) {
    if (std::isnan(value)) return 0;
    constexpr double kLargest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -kLargest, kLargest));
}

QString ValueText(TextId label, int value) {
    return FromWide(Filled(EnglishText(label), {std::to_wstring(value)}));
}

// The label's word, without the value: a slider tells that itself.
QString ValueName(TextId label) {
    return FromWide(EnglishText(label)).section(':', 0, 0);
}

std::vector<TextId> StereoModeEntries() {
    std::vector<TextId> entries;
    for (const StereoModeTexts& mode : kStereoModeTexts) entries.push_back(mode.inList);
    return entries;
}

}  // namespace

Sidebar::Sidebar(QWidget* parent, const AppSettings& settings) : QWidget(parent) {
    setObjectName(QString::number(static_cast<int>(ControlId::Sidebar)));
    QPalette colours = palette();
    colours.setColor(QPalette::Window, kSidebarColour);
    setPalette(colours);
    setAutoFillBackground(true);

    MakeModelSection();
    MakeInputSection(settings);
    MakeViewerSection(settings);
    LayoutSidebar();
}

void Sidebar::MakeModelSection() {
    AddLabel(ControlId::Title, "Vistrel", TitleFont());
    AddButton(ControlId::Batch, UiString(TextId::Batch), SmallFont());
    AddButton(ControlId::Help, "?", BoldFont())
        ->setAccessibleName(SpokenText(UiString(TextId::MenuHelp)));
    const QString heading =
        AddHeading(ControlId::ModelHeading, TextId::ModelHeading)->accessibleName();
    modelName = Add(ControlId::ModelName, new QLineEdit(this), SmallFont());
    modelName->setReadOnly(true);
    modelName->setAcceptDrops(false);  // files are for the window
    modelName->setTextMargins(3, 0, 3, 0);
    modelName->setAccessibleName(heading);
    auto* const select = AddButton(ControlId::SelectModel, "Select\u2026", NormalFont());
    select->setAccessibleName(select->text() + ' ' + heading);  // something else can be selected
    downloadModel =
        AddButton(ControlId::DownloadModel, UiString(TextId::DownloadModel), NormalFont());
    downloadProgress = Add(ControlId::DownloadProgress, new QProgressBar(this), NormalFont());
    downloadProgress->setRange(0, 1000);
    downloadProgress->setValue(0);
    downloadProgress->setTextVisible(false);
    downloadProgress->setAccessibleName(UiString(TextId::DownloadCaption));
    downloadProgress->hide();
    downloadStatus = AddLabel(ControlId::DownloadStatus, {}, SmallFont());
}

void Sidebar::MakeInputSection(const AppSettings& settings) {
    AddHeading(ControlId::InputHeading, TextId::InputHeading);
    inputName = AddLabel(ControlId::InputName, UiString(TextId::DropHint), SmallFont());
    AddButton(ControlId::SelectFile, UiString(TextId::SelectFile), NormalFont());
    auto* const providerLabel =
        AddLabel(ControlId::ProviderLabel, UiString(TextId::ProviderLabel), SmallFont());
    provider = AddCombo(ControlId::Provider, {TextId::ProviderCpu, TextId::ProviderCuda},
                        settings.executionProvider);
    NameByLabel(provider, providerLabel);
    generate = AddButton(ControlId::Generate, UiString(TextId::Generate), BoldFont());
    generate->setDefault(true);
    generateStatus = AddLabel(ControlId::GenerateStatus, {}, SmallFont());
    generateStatus->setWordWrap(true);
}

void Sidebar::MakeViewerSection(const AppSettings& settings) {
    AddHeading(ControlId::ViewerHeading, TextId::ViewerHeading);
    sharpMode = AddRadio(ControlId::SharpMode, UiString(TextId::SharpMode));
    generalMode = AddRadio(ControlId::GeneralMode, UiString(TextId::GeneralMode));
    SetViewMode(settings.isSharpMode);
    auto* const stereoLabel =
        AddLabel(ControlId::StereoLabel, UiString(TextId::StereoLabel), SmallFont());
    stereoMode = AddCombo(ControlId::StereoMode, StereoModeEntries(), settings.stereoMode);
    NameByLabel(stereoMode, stereoLabel);
    focusLabel = AddLabel(ControlId::FocusLabel, {}, SmallFont());
    focus = AddSlider(ControlId::Focus, -100, 100);
    focus->setAccessibleName(ValueName(kFocusText));
    depthLabel = AddLabel(ControlId::DepthLabel, {}, SmallFont());
    depth = AddSlider(ControlId::Depth, 0, 200);
    depth->setAccessibleName(ValueName(kDepthText));
    SetFocusDepth(settings.focus, settings.depth);
    AddButton(ControlId::Swap, UiString(TextId::Swap), NormalFont());
    AddButton(ControlId::Reset, UiString(TextId::Reset), NormalFont());
    AddButton(ControlId::SaveImage, UiString(TextId::SaveImage), NormalFont());
    ShowViewerControls(false);
}

template <typename Control>
Control* Sidebar::Add(ControlId id, Control* control, const QFont& font) {
    control->setObjectName(QString::number(static_cast<int>(id)));
    control->setFont(font);
    control->show();  // from here on isHidden() tells what was decided about the control
    controls_[id] = control;
    return control;
}

QLabel* Sidebar::AddLabel(ControlId id, const QString& text, const QFont& font) {
    auto* const label = Add(id, new TextLabel(this), font);
    label->setText(text);
    return label;
}

QLabel* Sidebar::AddHeading(ControlId id, TextId text) {
    QLabel* const heading = AddLabel(id, UiString(text), BoldFont());
    heading->setAccessibleName(SpokenText(heading->text()));
    return heading;
}

QPushButton* Sidebar::AddButton(ControlId id, const QString& text, const QFont& font) {
    auto* const button = Add(id, new QPushButton(text, this), font);
    button->setAccessibleName(SpokenText(text));
    connect(button, &QPushButton::clicked, this, [this, id] { onCommand(id, 0); });
    return button;
}

QRadioButton* Sidebar::AddRadio(ControlId id, const QString& text) {
    auto* const radio = Add(id, new QRadioButton(text, this), NormalFont());
    connect(radio, &QRadioButton::clicked, this, [this, id] { onCommand(id, 0); });
    return radio;
}

QComboBox* Sidebar::AddCombo(ControlId id, const std::vector<TextId>& entries, int index) {
    auto* const combo = Add(id, new QComboBox(this), NormalFont());
    for (const TextId entry : entries) combo->addItem(UiString(entry));
    combo->setCurrentIndex(index);  // an index that no entry has selects none
    connect(combo, &QComboBox::activated, this, [this, id](int chosen) { onCommand(id, chosen); });
    return combo;
}

QSlider* Sidebar::AddSlider(ControlId id, int minimum, int maximum) {
    auto* const slider = Add(id, new QSlider(Qt::Horizontal, this), NormalFont());
    slider->setRange(minimum, maximum);
    connect(slider, &QSlider::valueChanged, this, [this, id](int value) { onCommand(id, value); });
    return slider;
}

void Sidebar::LayoutSidebar() {
    int cursor = kTop;
    for (const Place& place : kPlaces) {
        QWidget* const control = controls_.at(place.id);
        cursor += place.before;
        control->setGeometry(place.x, cursor, place.width, place.height);
        if (!IsOptional(place.id) || !control->isHidden()) cursor += place.advance;
    }
}

void Sidebar::ShowViewerControls(bool shown) {
    for (const ControlId id : kViewerControls) controls_.at(id)->setVisible(shown);
}

void Sidebar::SetViewMode(bool sharp) {
    (sharp ? sharpMode : generalMode)->setChecked(true);
}

void Sidebar::SetStereoMode(int mode) {
    stereoMode->setCurrentIndex(mode);
}

void Sidebar::Disable(QPushButton& button) {
    if (window()->focusWidget() == &button) window()->setFocus();
    button.setEnabled(false);
}

void Sidebar::SetFocusDepth(double focusValue, double depthValue) {
    const auto show = [](QSlider* slider, QLabel* label, TextId text, double value) {
        const QSignalBlocker quiet(slider);
        slider->setValue(Truncated(value));
        label->setText(ValueText(text, Truncated(value)));
    };
    show(focus, focusLabel, kFocusText, focusValue);
    show(depth, depthLabel, kDepthText, depthValue);
}

}  // namespace vistrel
