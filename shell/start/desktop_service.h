// SPDX-License-Identifier: GPL-3.0-or-later
// The program on the session bus, where the desktop starts it, calls it to the front and hands it
// files: the interface org.freedesktop.Application.
#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QUrl>
#include <QVariantMap>
#include <functional>

namespace vistrel {

// Answers to calls of the desktop; both are called by the event loop, also that of a dialog.
struct DesktopCalls {
    // `platformData` tells on whose behalf; see BringToFront.
    std::function<void(const QVariantMap& platformData)> activate;
    std::function<void(const QList<QUrl>& files)> open;  // comes after `activate`
};

// Thread of the event loop. Nobody waits for the bus, and without one there are no calls. Of
// several programs the first has the calls, and the next once that one ends.
class DesktopService : public QDBusVirtualObject {
  public:
    DesktopService(DesktopCalls calls, QDBusConnection bus);
    ~DesktopService() override;
    DesktopService(const DesktopService&) = delete;
    DesktopService& operator=(const DesktopService&) = delete;

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override;

  private:
    DesktopCalls calls_;
    QDBusConnection bus_;
};

// Whether the session has a bus. Who asks Qt for one that is not there starts one of his own, which
// nobody ends.
[[nodiscard]] bool HasSessionBus();

}  // namespace vistrel
