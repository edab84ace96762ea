// SPDX-License-Identifier: GPL-3.0-or-later
// The column of controls at the left of the window: 290 pixels wide, as high as the window. Where
// that is too low for them, they can be scrolled.
#pragma once

#include <QScrollArea>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "shell/window/control_id.h"
#include "ui/ui_text.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSlider;

namespace vistrel {

struct AppSettings;

// Thread of the event loop.
class Sidebar : public QScrollArea {
  public:
    static constexpr int kWidth = 290;

    // Controls show what `settings` say; texts come from the active table.
    Sidebar(QWidget* parent, const AppSettings& settings);

    // What the user does: the command, and for a combo box its new index, for a slider its
    // position. Set before the user can do anything.
    std::function<void(ControlId id, int value)> onCommand;

    // The chosen model's name and, as its tool tip, its path, and whether a download of it is
    // offered. The progress of a download is hidden.
    void ShowModel(std::wstring_view name, std::wstring_view path, bool downloadOffered);
    // A download begins: shows its progress and disables its button.
    void ShowDownloadStart(std::wstring_view text);
    // `position` is 0 to 1000; more fills the bar.
    void ShowDownload(int position, std::wstring_view text);
    // The text stays, the bar goes, and the button may be pressed again.
    void ShowDownloadEnd(std::wstring_view text);

    // Name of the file that was selected.
    void ShowInput(std::wstring_view name);
    // How the conversion is going.
    void ShowStatus(std::wstring_view text);
    // Nothing in the place of this text, if it still stands there.
    void WithdrawStatus(std::wstring_view text);
    void SetGenerateEnabled(bool enabled);

    // The twelve controls below the viewer heading.
    void ShowViewerControls(bool shown);
    void SetViewMode(bool sharp);
    // `mode` is the number of a StereoMode; any other selects none.
    void SetStereoMode(std::int32_t mode);
    // Positions and labels; the values are truncated toward zero.
    void SetFocusDepth(double focus, double depth);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void MakeModelSection();
    void MakeInputSection(const AppSettings& settings);
    void MakeViewerSection(const AppSettings& settings);
    // Gives a control its number, its font and its place in the order of Tab.
    template <typename Control>
    Control* Add(ControlId id, Control* control, const QFont& font);
    QLabel* AddLabel(ControlId id, const QString& text, const QFont& font);
    // In the bold letters of a section's heading.
    QLabel* AddHeading(ControlId id, TextId text);
    QPushButton* AddButton(ControlId id, const QString& text, const QFont& font);
    QRadioButton* AddRadio(ControlId id, const QString& text);
    QComboBox* AddCombo(ControlId id, const std::vector<TextId>& entries, int index);
    QSlider* AddSlider(ControlId id, int minimum, int maximum);

    // Places every control that is to be seen. A control's visibility is its own state
    // (QWidget::isHidden), whether the sidebar is shown or not.
    void LayoutSidebar();
    void ShowProgress();
    // Takes the keyboard focus from the button first, which the next control would get: a second
    // press of the space bar is not meant for that one.
    void Disable(QPushButton& button);

    QWidget* panel_;  // of all controls
    std::map<ControlId, QWidget*> controls_;
    QLineEdit* modelName_;
    QPushButton* downloadModel_;
    QProgressBar* downloadProgress_;
    QLabel* downloadStatus_;
    QLabel* inputName_;
    QPushButton* generate_;
    QLabel* generateStatus_;
    QRadioButton* sharpMode_;
    QRadioButton* generalMode_;
    QComboBox* stereoMode_;
    QLabel* focusLabel_;
    QSlider* focus_;
    QLabel* depthLabel_;
    QSlider* depth_;
};

}  // namespace vistrel
