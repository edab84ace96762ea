// The column of controls at the left of the window: 290 pixels wide, as high as the window.
#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "shell/control_id.h"

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

    // What the user does: the command, and for a combo box its new index, for a slider its position.
    std::function<void(ControlId id, int value)> onCommand;

    // Places every control that is to be seen.
    void LayoutSidebar();
    // The twelve controls below the viewer heading.
    void ShowViewerControls(bool shown);
    void SetViewMode(bool sharp);
    void SetStereoMode(int mode);
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
};

}  // namespace vistrel
