// The program's window: the sidebar at the left, the viewer area beside it.
#pragma once

#include <QMainWindow>
#include <memory>
#include <string>

#include "shell/control_id.h"

namespace vistrel {

class Mailbox;

// Thread of the event loop. Made by the entry point and deleted by it after the loop.
class MainWindow : public QMainWindow {
  public:
    // `webDir` holds the page's files, `appDir` the help pages.
    MainWindow(std::wstring webDir, std::wstring appDir);
    ~MainWindow() override;

    // Where worker threads and the key filter post to.
    [[nodiscard]] std::shared_ptr<Mailbox> Messages() const;
    // Whether a conversion or a download goes on, which nobody waits for.
    [[nodiscard]] bool HasRunningWorker() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace vistrel
