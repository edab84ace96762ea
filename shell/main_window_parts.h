// What a main window consists of; for the files that implement it.
#pragma once

#include <QRect>
#include <memory>
#include <string>

#include "download/model_downloader.h"
#include "engine/conversion_engine.h"
#include "shell/download_flow.h"
#include "shell/focus_frame.h"
#include "shell/generate_flow.h"
#include "shell/mailbox.h"
#include "shell/main_menu.h"
#include "shell/main_window.h"
#include "shell/preview.h"
#include "shell/questions.h"
#include "shell/scene_link.h"
#include "shell/settings.h"
#include "shell/sidebar.h"
#include "viewer/web_view_bridge.h"

namespace vistrel {

struct MainWindow::Parts {
    Parts(MainWindow* window, std::wstring webDir, std::wstring programDir,
          MainWindowServices windowServices);

    MainWindowServices services;
    std::wstring tempWebDir;
    std::wstring appDir;
    AppSettings settings;
    ConversionEngine engine;
    ModelDownloader downloader;
    std::shared_ptr<Mailbox> mailbox;
    std::unique_ptr<Questions> questions;
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
