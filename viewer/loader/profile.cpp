#include "viewer/loader/profile.h"

#include <QStandardPaths>
#include <QString>
#include <QWebEngineSettings>

namespace vistrel::loader {
namespace {

// Only a profile with a name has a place on disk.
constexpr char16_t kName[] = u"Vistrel";

QString DefaultFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/QtWebEngine/") + QString::fromUtf16(kName);
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

std::shared_ptr<Profile> Profile::Make(const std::wstring& folder) {
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
