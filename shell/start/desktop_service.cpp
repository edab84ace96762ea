// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/desktop_service.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFileInfo>
#include <QStringList>
#include <utility>

namespace vistrel {
namespace {

constexpr const char* kServiceName = "org.vistrel.vistrel";
constexpr const char* kObjectPath = "/org/vistrel/vistrel";
constexpr const char* kDesktopInterface = "org.freedesktop.Application";

// Whoever asks while somebody else has the name is next.
constexpr uint kWaitForName = 0;

template <typename... Arguments>
void CallBus(const QDBusConnection& bus, const char* method, Arguments... arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method);
    (call << ... << arguments);
    bus.asyncCall(call);
}

}  // namespace

bool HasSessionBus() {
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty()) return !address.startsWith("autolaunch:");
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && QFileInfo::exists(folder + "/bus");
}

// The object is there before the name, so that no call that waits for the name misses it.
DesktopService::DesktopService(DesktopCalls calls, QDBusConnection bus)
    : calls_(std::move(calls)), bus_(std::move(bus)) {
    if (bus_.registerVirtualObject(kObjectPath, this))
        CallBus(bus_, "RequestName", kServiceName, kWaitForName);
}

DesktopService::~DesktopService() {
    if (!bus_.isConnected()) return;
    CallBus(bus_, "ReleaseName", kServiceName);
    bus_.unregisterObject(kObjectPath);
}

QString DesktopService::introspect(const QString& /*path*/) const {
    return R"(<interface name="org.freedesktop.Application">
  <method name="Activate">
    <arg type="a{sv}" name="platform_data" direction="in"/>
  </method>
  <method name="Open">
    <arg type="as" name="uris" direction="in"/>
    <arg type="a{sv}" name="platform_data" direction="in"/>
  </method>
  <method name="ActivateAction">
    <arg type="s" name="action_name" direction="in"/>
    <arg type="av" name="parameter" direction="in"/>
    <arg type="a{sv}" name="platform_data" direction="in"/>
  </method>
</interface>
)";
}

// Who calls hears at once that the call has come: a window may be long in showing a scene.
bool DesktopService::handleMessage(const QDBusMessage& message, const QDBusConnection& bus) {
    if (!message.interface().isEmpty() && message.interface() != kDesktopInterface) return false;
    const QString call = message.member() + '(' + message.signature() + ')';
    const QVariantList given = message.arguments();
    if (call == "Activate(a{sv})") {
        bus.send(message.createReply());
        calls_.activate(qdbus_cast<QVariantMap>(given.at(0)));
        return true;
    }
    if (call == "Open(asa{sv})") {
        bus.send(message.createReply());
        QList<QUrl> files;
        for (const QString& address : given.at(0).toStringList())
            files.append(QUrl::fromEncoded(address.toUtf8()));
        calls_.activate(qdbus_cast<QVariantMap>(given.at(1)));
        calls_.open(files);
        return true;
    }
    if (call == "ActivateAction(sava{sv})") {
        bus.send(message.createErrorReply(QDBusError::InvalidArgs, "There is no such action."));
        return true;
    }
    return false;
}

}  // namespace vistrel
