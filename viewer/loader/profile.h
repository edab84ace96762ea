// SPDX-License-Identifier: GPL-3.0-or-later
// What the browser keeps between two runs of the program, and the rules for all its pages.
#pragma once

#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInterceptor>
#include <memory>
#include <string>

namespace vistrel::loader {

// Keeps a folder for one program at a time. Ends with the object, and with the process however that
// ends.
class FolderLock {
  public:
    FolderLock() = default;
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Makes the folder (UTF-8) where it is missing. False when it cannot be written, and when
    // another lock, of this or another process, holds it.
    bool Take(const std::string& folder);

  private:
    int file_ = -1;
};

// Blocks every request of a page that goes anywhere else than to local content.
class RequestFilter : public QWebEngineUrlRequestInterceptor {
  public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
};

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
