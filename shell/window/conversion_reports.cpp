#include "shell/window/conversion_reports.h"

#include <utility>

#include "shell/window/window_messages.h"
#include "ui/mailbox.h"

namespace vistrel {

ConversionReports::ConversionReports(std::shared_ptr<Mailbox> mailbox)
    : mailbox_(std::move(mailbox)) {}

void ConversionReports::Progress(const std::wstring& stage) {
    const std::lock_guard lock(mutex_);
    if (thread_ == std::thread::id()) thread_ = std::this_thread::get_id();
    if (ended_ || thread_ != std::this_thread::get_id()) return;
    mailbox_->Post(std::make_unique<WindowMessage>(kGenerateProgressMessage, 0, stage));
}

void ConversionReports::Finished(bool success, const std::wstring& text) {
    const std::lock_guard lock(mutex_);
    if (ended_ || thread_ != std::this_thread::get_id()) return;
    ended_ = true;  // the thread's number may be given to another one now
    mailbox_->Post(std::make_unique<WindowMessage>(kGenerateDoneMessage, success ? 0 : 1, text));
}

}  // namespace vistrel
