// From the download button to the network's file.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "download/model_downloader.h"

namespace vistrel {

struct AppSettings;
class Mailbox;
class Questions;
class Sidebar;
class WindowMessage;

// Thread of the event loop. What it is given outlives it.
class DownloadFlow {
  public:
    DownloadFlow(ModelDownloader& downloader, AppSettings& settings, Sidebar& sidebar,
                 Questions& questions, std::shared_ptr<Mailbox> mailbox);

    // The model path has changed.
    std::function<void()> onModel;

    void StartModelDownload();
    void OnProgress(const WindowMessage& message);
    void OnDone(const WindowMessage& message);

  private:
    ModelDownloader& downloader_;
    AppSettings& settings_;
    Sidebar& sidebar_;
    Questions& questions_;
    std::shared_ptr<Mailbox> mailbox_;
};

}  // namespace vistrel
