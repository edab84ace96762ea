// The column of controls at the left of the window: 290 pixels wide, as high as the window.
#pragma once

#include <QWidget>
#include <functional>
#include <map>
#include <string>
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

// Thread of the event loop. A control's visibility is its own state (QWidget::isHidden): the flows
// and the window set it, LayoutSidebar places what is not hidden.
class Sidebar : public QWidget {
  public:
    static constexpr int kWidth = 290;

    // Controls show what `settings` say; texts come from the active table.
    Sidebar(QWidget* parent, const AppSettings& settings);

    // What the user does: the command, and for a combo box its new index, for a slider its
    // position. Set before the user can do anything.
    std::function<void(ControlId id, int value)> onCommand;

    // Places every control that is to be seen.
    void LayoutSidebar();
    // The twelve controls below the viewer heading.
    void ShowViewerControls(bool shown);
    void SetViewMode(bool sharp);
    void SetStereoMode(int mode);
    // Takes the keyboard focus from the button first, which the next control would get: a second
    // press of the space bar is not meant for that one.
    void Disable(QPushButton& button);
    // Positions and labels; the values are truncated toward zero.
    void SetFocusDepth(double focus, double depth);

    QLineEdit* modelName;
    QPushButton* downloadModel;
    QProgressBar* downloadProgress;
    QLabel* downloadStatus;
    QLabel* inputName;
    QComboBox* provider;
    QPushButton* generate;
    QLabel* generateStatus;
    QRadioButton* sharpMode;
    QRadioButton* generalMode;
    QComboBox* stereoMode;
    QLabel* focusLabel;
    QSlider* focus;
    QLabel* depthLabel;
    QSlider* depth;

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

    std::map<ControlId, QWidget*> controls_;
};

}  // namespace vistrel
