// What a conversion of the window tells the window.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace vistrel {

class Mailbox;

// Posts the reports of one run of ConversionEngine::StartAsync. The engine keeps its onFinished
// afterwards and calls it for the files of a batch as well, after that run or beside it, and those
// must neither end the window's conversion nor show their scenes. A run begins with a stage text,
// on its own thread: from then on reports of other threads are dropped, and after the end of the
// run all are. Any thread.
class ConversionReports {
  public:
    explicit ConversionReports(std::shared_ptr<Mailbox> mailbox);

    void Progress(const std::wstring& stage);
    void Finished(bool success, const std::wstring& text);

  private:
    std::shared_ptr<Mailbox> mailbox_;
    std::mutex mutex_;
    std::thread::id thread_;  // guarded by mutex_; none before the first stage
    bool ended_ = false;      // guarded by mutex_
};

}  // namespace vistrel
