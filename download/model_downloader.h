// SPDX-License-Identifier: GPL-3.0-or-later
// Fetches the network's ONNX file over HTTPS into a file, in the background.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "download/http_request.h"

namespace vistrel {

// Where the network's file is to be had.
inline constexpr const char* kModelUrl =
    "https://huggingface.co/pearsonkyle/Sharp-onnx/resolve/main/sharp_fp16.onnx";

// One download at a time, on a thread that shares the downloader.
class ModelDownloader {
  public:
    // Called on the download thread after every chunk: the share done (0 to 1; 0 where the size is
    // unknown) and a text for the user.
    using OnProgress = std::function<void(double fraction, const std::wstring& text)>;
    // Called on the download thread at the end: true and the destination, or false and the reason.
    // May start the next download.
    using OnFinished = std::function<void(bool success, const std::wstring& message)>;

    // Every download makes a request of its own with `makeRequest`, on the download thread.
    explicit ModelDownloader(
        std::string url = kModelUrl,
        HttpRequestMaker makeRequest = [] { return MakeHttpRequest(); });

    const std::string url;
    const HttpRequestMaker makeRequest;
    // Atomic. True while a download goes on; cleared just before onFinished is called.
    std::atomic<bool> busy = false;
    // Atomic. Set by any owner to stop after the current chunk; cleared by every start.
    std::atomic<bool> cancelRequested = false;

    // Starts a download into `destPath` on a detached thread, which shares `downloader`. Does
    // nothing while one goes on. Both callbacks may be empty. Throws std::system_error when there
    // is no thread to be had. Any thread.
    //
    // The file grows under the name `destPath` + ".tmp" and takes its place at the end; while it
    // does, no other download, of whatever process, can create one of that name. A transfer
    // that breaks off counts as complete: only the user of the file can tell. After every failure
    // a former file at `destPath` is as it was. What was received is deleted then, unless only the
    // last step, the new name, failed.
    static void StartDownload(const std::shared_ptr<ModelDownloader>& downloader,
                              const std::wstring& destPath, OnProgress onProgress,
                              OnFinished onFinished);
};

}  // namespace vistrel
