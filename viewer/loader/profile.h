// What the browser keeps between two runs of the program, and the rules for all its pages.
#pragma once

#include <QWebEngineProfile>
#include <memory>
#include <string>

#include "viewer/loader/folder_lock.h"
#include "viewer/loader/request_filter.h"

namespace vistrel::loader {

// Outlives its pages, which share it.
class Profile {
  public:
    // Local storage lives in `folder` (empty: the browser's default folder). Where that cannot be
    // written, or belongs to another running program, it lives in memory.
    static std::shared_ptr<Profile> Make(const std::wstring& folder);

    QWebEngineProfile& Get() { return *profile_; }

  private:
    Profile() = default;

    RequestFilter filter_;
    FolderLock lock_;
    std::unique_ptr<QWebEngineProfile> profile_;
};

}  // namespace vistrel::loader
