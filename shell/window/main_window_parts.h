// What a main window consists of; for the files that implement it.
#pragma once

#include <QRect>
#include <memory>
#include <string>

#include "download/model_downloader.h"
#include "engine/conversion_engine.h"
#include "shell/window/download_flow.h"
#include "shell/window/focus_frame.h"
#include "shell/window/generate_flow.h"
#include "shell/window/main_menu.h"
#include "shell/window/main_window.h"
#include "shell/window/preview.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"
#include "ui/mailbox.h"
#include "ui/settings.h"
#include "viewer/scene_link.h"
#include "viewer/web_view_bridge.h"

namespace vistrel {

struct MainWindow::Parts {
    Parts(MainWindow* window, std::wstring webDir, std::wstring programDir,
          MainWindowServices windowServices);

    MainWindowServices services;
    std::wstring tempWebDir;
    std::wstring appDir;
    AppSettings settings;
    std::shared_ptr<ConversionEngine> engine;     // never null
    std::shared_ptr<ModelDownloader> downloader;  // never null
    std::shared_ptr<Mailbox> mailbox;
    std::unique_ptr<WindowDialogs> dialogs;
    WebViewBridge bridge;
    SceneLink sceneLink;
    QWidget* client;  // all of the window below the menu bar
    Preview* preview;
    Sidebar* sidebar;
    FocusFrame* viewerFocus;   // around the viewer area
    MainMenu* menu = nullptr;  // none in full screen
    GenerateFlow generate;
    DownloadFlow download;

    bool sceneLoaded = false;  // a scene was handed to the viewer; else the photograph is shown
    bool webViewReady = false;
    std::wstring currentScenePath;
    bool sidebarHidden = false;
    bool fullScreen = false;
    QRect savedPlacement;  // geometry before full screen; empty where the window was maximised
    bool destroyed = false;
};

}  // namespace vistrel
