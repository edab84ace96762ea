// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of the sidebar, from top to bottom.
#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <algorithm>

#include "shell/window/sidebar.h"
#include "ui/settings.h"
#include "ui/text_label.h"
#include "ui/theme.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

// A combo box tells its value as its name to screen readers, and what it is for by its label. Its
// list tells neither.
void NameByLabel(QComboBox* combo, QLabel* label) {
    label->setBuddy(combo);
    combo->setAccessibleName(label->text());
    combo->view()->setAccessibleName(label->text());
}

// The label's word, without the value: a slider tells that itself.
QString ValueName(TextId label) {
    return FromWide(EnglishText(label)).section(':', 0, 0);
}

std::vector<TextId> StereoModeEntries() {
    std::vector<TextId> entries(kStereoModeTexts.size());
    std::ranges::transform(kStereoModeTexts, entries.begin(), &StereoModeTexts::inList);
    return entries;
}

}  // namespace

void Sidebar::MakeModelSection() {
    AddLabel(ControlId::Title, "Vistrel", TitleFont());
    AddButton(ControlId::Batch, UiString(TextId::Batch), SmallFont());
    AddButton(ControlId::Help, "?", BoldFont())
        ->setAccessibleName(SpokenText(UiString(TextId::MenuHelp)));
    const QString heading =
        AddHeading(ControlId::ModelHeading, TextId::ModelHeading)->accessibleName();
    modelName_ = Add(ControlId::ModelName, new QLineEdit(panel_), SmallFont());
    modelName_->setReadOnly(true);
    modelName_->setAcceptDrops(false);  // files are for the window
    modelName_->setTextMargins(3, 0, 3, 0);
    modelName_->setAccessibleName(heading);
    auto* const select = AddButton(ControlId::SelectModel, "Select\u2026", NormalFont());
    select->setAccessibleName(select->text() + ' ' + heading);  // something else can be selected
    downloadModel_ =
        AddButton(ControlId::DownloadModel, UiString(TextId::DownloadModel), NormalFont());
    downloadProgress_ = Add(ControlId::DownloadProgress, new QProgressBar(panel_), NormalFont());
    downloadProgress_->setRange(0, 1000);
    downloadProgress_->setValue(0);
    downloadProgress_->setTextVisible(false);
    downloadProgress_->setAccessibleName(UiString(TextId::DownloadCaption));
    downloadProgress_->hide();
    downloadStatus_ = AddLabel(ControlId::DownloadStatus, {}, SmallFont());
}

void Sidebar::MakeInputSection(const AppSettings& settings) {
    AddHeading(ControlId::InputHeading, TextId::InputHeading);
    inputName_ = AddLabel(ControlId::InputName, UiString(TextId::DropHint), SmallFont());
    AddButton(ControlId::SelectFile, UiString(TextId::SelectFile), NormalFont());
    auto* const providerLabel =
        AddLabel(ControlId::ProviderLabel, UiString(TextId::ProviderLabel), SmallFont());
    auto* const provider =
        AddCombo(ControlId::Provider, {TextId::ProviderCpu, TextId::ProviderCuda},
                 settings.executionProvider);
    NameByLabel(provider, providerLabel);
    generate_ = AddButton(ControlId::Generate, UiString(TextId::Generate), BoldFont());
    generate_->setDefault(true);
    generateStatus_ = AddLabel(ControlId::GenerateStatus, {}, SmallFont());
    generateStatus_->setWordWrap(true);
}

void Sidebar::MakeViewerSection(const AppSettings& settings) {
    AddHeading(ControlId::ViewerHeading, TextId::ViewerHeading);
    sharpMode_ = AddRadio(ControlId::SharpMode, UiString(TextId::SharpMode));
    generalMode_ = AddRadio(ControlId::GeneralMode, UiString(TextId::GeneralMode));
    SetViewMode(settings.isSharpMode);
    auto* const stereoLabel =
        AddLabel(ControlId::StereoLabel, UiString(TextId::StereoLabel), SmallFont());
    stereoMode_ = AddCombo(ControlId::StereoMode, StereoModeEntries(), settings.stereoMode);
    NameByLabel(stereoMode_, stereoLabel);
    focusLabel_ = AddLabel(ControlId::FocusLabel, {}, SmallFont());
    focus_ = AddSlider(ControlId::Focus, -100, 100);
    focus_->setAccessibleName(ValueName(TextId::FocusValue));
    depthLabel_ = AddLabel(ControlId::DepthLabel, {}, SmallFont());
    depth_ = AddSlider(ControlId::Depth, 0, 200);
    depth_->setAccessibleName(ValueName(TextId::DepthValue));
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
    auto* const label = Add(id, new TextLabel(panel_), font);
    label->setText(text);
    return label;
}

QLabel* Sidebar::AddHeading(ControlId id, TextId text) {
    QLabel* const heading = AddLabel(id, UiString(text), BoldFont());
    heading->setAccessibleName(SpokenText(heading->text()));
    return heading;
}

QPushButton* Sidebar::AddButton(ControlId id, const QString& text, const QFont& font) {
    auto* const button = Add(id, new QPushButton(text, panel_), font);
    button->setAccessibleName(SpokenText(text));
    connect(button, &QPushButton::clicked, this, [this, id] { onCommand(id, 0); });
    return button;
}

QRadioButton* Sidebar::AddRadio(ControlId id, const QString& text) {
    auto* const radio = Add(id, new QRadioButton(text, panel_), NormalFont());
    connect(radio, &QRadioButton::clicked, this, [this, id] { onCommand(id, 0); });
    return radio;
}

QComboBox* Sidebar::AddCombo(ControlId id, const std::vector<TextId>& entries, int index) {
    auto* const combo = Add(id, new QComboBox(panel_), NormalFont());
    for (const TextId entry : entries) combo->addItem(UiString(entry));
    combo->setCurrentIndex(index);  // an index that no entry has selects none
    // Not by the wheel, which may be scrolling.
    combo->setFocusPolicy(Qt::StrongFocus);
    combo->installEventFilter(this);
    connect(combo, &QComboBox::activated, this, [this, id](int chosen) { onCommand(id, chosen); });
    return combo;
}

QSlider* Sidebar::AddSlider(ControlId id, int minimum, int maximum) {
    auto* const slider = Add(id, new QSlider(Qt::Horizontal, panel_), NormalFont());
    slider->installEventFilter(this);
    slider->setRange(minimum, maximum);
    connect(slider, &QSlider::valueChanged, this, [this, id](int value) { onCommand(id, value); });
    return slider;
}

}  // namespace vistrel
