// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/profile.h"

#include <fcntl.h>
#include <langinfo.h>
#include <sys/file.h>
#include <unistd.h>

#include <QStandardPaths>
#include <QString>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInfo>
#include <clocale>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "viewer/loader/address.h"

namespace vistrel::loader {
namespace {

// Only a profile with a name has a place on disk.
constexpr char16_t kName[] = u"Vistrel";

QString DefaultFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/QtWebEngine/") + QString::fromUtf16(kName);
}

// The browser reads the names of its files in the locale's character set, and they are UTF-8.
void UseUtf8() {
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

void Restrict(QWebEngineSettings& settings) {
    using Settings = QWebEngineSettings;
    // The page reads scene files from anywhere on the disk.
    settings.setAttribute(Settings::LocalContentCanAccessFileUrls, true);
    for (const Settings::WebAttribute attribute :
         {Settings::LocalContentCanAccessRemoteUrls, Settings::JavascriptCanOpenWindows,
          Settings::JavascriptCanAccessClipboard, Settings::PluginsEnabled,
          Settings::PdfViewerEnabled, Settings::FullScreenSupportEnabled,
          Settings::ScreenCaptureEnabled, Settings::NavigateOnDropEnabled,
          Settings::HyperlinkAuditingEnabled, Settings::DnsPrefetchEnabled,
          Settings::AutoLoadIconsForPage, Settings::FocusOnNavigationEnabled,
          Settings::ErrorPageEnabled}) {
        settings.setAttribute(attribute, false);
    }
    settings.setAttribute(Settings::WebRTCPublicInterfacesOnly, true);
    settings.setUnknownUrlSchemePolicy(Settings::DisallowUnknownUrlSchemes);
}

}  // namespace

FolderLock::~FolderLock() {
    if (file_ >= 0) close(file_);
}

bool FolderLock::Take(const std::string& folder) {
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    const std::string path = folder + "/vistrel.lock";
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return false;
    if (flock(file, LOCK_EX | LOCK_NB) != 0) {
        close(file);
        return false;
    }
    if (file_ >= 0) close(file_);
    file_ = file;
    return true;
}

void RequestFilter::interceptRequest(QWebEngineUrlRequestInfo& info) {
    if (!IsLocal(info.requestUrl())) info.block(true);
}

std::shared_ptr<Profile> Profile::Make(const std::wstring& folder) {
    UseUtf8();
    std::shared_ptr<Profile> made(new Profile);
    const QString path = folder.empty() ? DefaultFolder() : QString::fromStdWString(folder);
    // A name that is no UTF-8 cannot be said to the browser.
    if (path.isValidUtf16() && made->lock_.Take(path.toStdString())) {
        made->profile_ = std::make_unique<QWebEngineProfile>(QString::fromUtf16(kName));
        made->profile_->setPersistentStoragePath(path);
    } else {
        made->profile_ = std::make_unique<QWebEngineProfile>();
    }
    QWebEngineProfile& profile = *made->profile_;
    profile.setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    profile.setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile.setUrlRequestInterceptor(&made->filter_);
    Restrict(*profile.settings());
    return made;
}

}  // namespace vistrel::loader
