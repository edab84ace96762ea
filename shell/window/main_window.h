// SPDX-License-Identifier: GPL-3.0-or-later
// The program's window: the sidebar at the left, the viewer area beside it.
#pragma once

#include <QMainWindow>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "download/model_downloader.h"
#include "engine/conversion_engine.h"
#include "shell/window/control_id.h"
#include "shell/window/download_flow.h"
#include "shell/window/generate_flow.h"
#include "shell/window/viewer_area.h"
#include "shell/window/window_frame.h"
#include "ui/settings.h"

namespace vistrel {

class Mailbox;
class MainWindow;
class Sidebar;
class WindowDialogs;

// What the window reaches beyond itself; tests put doubles in the place of some.
struct MainWindowServices {
    std::function<std::unique_ptr<WindowDialogs>(QWidget* owner)> makeDialogs;  // empty: dialogs
    EnvironmentFactory browser;  // empty: that of the loader library
    ProviderList providers = AvailableExecutionProviders;
    std::string modelUrl = kModelUrl;
    // Runs the batch dialog until it is closed; empty: there is none.
    std::function<void(QWidget* owner, const std::shared_ptr<ConversionEngine>& engine,
                       const AppSettings& settings)>
        runBatch;
    // Lets the desktop call the window until what it returns is deleted; empty: nobody calls.
    std::function<std::unique_ptr<QObject>(MainWindow& window)> answerDesktop;
};

// Thread of the event loop. Made by the entry point and deleted by it after the loop; the loop ends
// when the window is closed, also where dialogs are open.
class MainWindow : public QMainWindow {
  public:
    // `webDir` holds the page's files, `appDir` the help pages. Loads the settings. The browser
    // starts, and the desktop may call, once the window is on the screen.
    MainWindow(std::wstring webDir, std::wstring appDir, MainWindowServices services = {});
    ~MainWindow() override;

    // Where worker threads and the key filter post to.
    [[nodiscard]] std::shared_ptr<Mailbox> Messages() const;
    // Whether a conversion, a download or the reading of a photograph goes on, which nobody waits
    // for.
    [[nodiscard]] bool HasRunningWorker() const;

    // `value` is the new index of a combo box, the position of a slider. Other numbers than those
    // of commands are ignored.
    void OnCommand(ControlId id, int value = 0);
    // A Qt::Key; modifiers do not count. Ignored while the user types or has a combo box open.
    void OnKeyDown(int key);

    // What was dropped on the window, or handed to the program: the first file is selected. Whether
    // there was one.
    bool TakeFiles(const QList<QUrl>& addresses);
    // A splat file is shown, anything else is a photograph to be converted.
    void SelectFile(const std::wstring& path);
    // Shows a splat file, with focus and depth as they are at first.
    void LoadScene(const std::wstring& path);

    void Layout(int width, int height);
    void UpdateModelDisplay();
    void UpdateViewerControls();
    void UpdateMenuState();
    void ToggleSidebar();
    void ToggleFullScreen();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void customEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void OnCreate();
    // The window was on the screen for the first time.
    void OnShown();
    void ConnectViewer();
    MainMenu* MakeMenu();
    // Ends the program; once.
    void Destroy();

    void OpenFile();
    void ChooseModel();
    void SetViewMode(bool sharp);
    void SetStereoMode(std::int32_t mode);
    void Reset();
    void Swap();
    void PassFocusDepth();
    void PassStereo();
    void SaveImage();
    void RunBatch();

    MainWindowServices services_;
    std::wstring appDir_;
    AppSettings settings_;
    std::shared_ptr<ConversionEngine> engine_;
    std::shared_ptr<ModelDownloader> downloader_;
    std::shared_ptr<Mailbox> mailbox_;
    std::unique_ptr<WindowDialogs> dialogs_;
    QWidget* client_;  // all of the window below the menu bar
    Sidebar* sidebar_;
    ViewerArea viewer_;
    WindowFrame frame_;
    GenerateFlow generate_;
    DownloadFlow download_;
    std::wstring viewerFailure_;  // the newest that the user was told
    std::unique_ptr<QObject> desktop_;
    bool shown_ = false;
    bool sidebarHidden_ = false;
    bool destroyed_ = false;
};

}  // namespace vistrel
