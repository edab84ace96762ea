// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/desktop_service.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QProcess>
#include <QStringList>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "shell/window/file_url.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

using test::WaitUntil;
using Story = std::vector<std::string>;

constexpr const char* kName = "org.vistrel.vistrel";

// A bus of its own, with the program at one end and the desktop at the other.
class DesktopServiceTest : public testing::Test {
  protected:
    ~DesktopServiceTest() override {
        services.clear();
        for (const QString& end : ends_) QDBusConnection::disconnectFromBus(end);
        daemon_.kill();
        daemon_.waitForFinished();
    }

    QDBusConnection Connect() {
        ends_.append("end " + QString::number(ends_.size()));
        return QDBusConnection::connectToBus(address_, ends_.back());
    }

    // A program called `name`, which notes down what it is told.
    void Start(const std::string& name) {
        services.push_back(std::make_unique<DesktopService>(
            DesktopCalls{.activate =
                             [this, name](const QVariantMap& data) {
                                 story.push_back(
                                     name + " comes " +
                                     data.value("activation-token").toString().toStdString());
                             },
                         .open =
                             [this, name](const QList<QUrl>& files) {
                                 for (const QUrl& file : files)
                                     story.push_back(name + " opens " +
                                                     ToUtf8(FirstFile({file}).value_or(L"none")));
                             }},
            Connect()));
    }
    // A first program that has its name.
    void StartFirst() {
        Start("first");
        ASSERT_TRUE(WaitUntil([this] { return desktop.interface()->isServiceRegistered(kName); }));
    }

    QDBusMessage Call(const char* method, const QVariantList& arguments,
                      const char* interface = "org.freedesktop.Application") {
        QDBusMessage call =
            QDBusMessage::createMethodCall(kName, "/org/vistrel/vistrel", interface, method);
        call.setArguments(arguments);
        const QDBusPendingCall pending = desktop.asyncCall(call);
        EXPECT_TRUE(WaitUntil([&pending] { return pending.isFinished(); }));
        return pending.reply();
    }
    // What it fails with; empty: nothing.
    std::string ErrorOf(const char* method, const QVariantList& arguments) {
        return Call(method, arguments).errorName().toStdString();
    }

  private:
    // The bus's address.
    QString StartBus() {
        const QString folder = QString::fromStdString(folder_.Path().string());
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--nosyslog", "--print-address",
                                      "--address=unix:dir=" + folder});
        while (!daemon_.canReadLine() && daemon_.waitForReadyRead()) {
        }
        return QString::fromUtf8(daemon_.readLine()).trimmed();
    }

    const test::TemporaryFolder folder_;
    QProcess daemon_;
    QString address_ = StartBus();
    QStringList ends_;

  protected:
    QDBusConnection desktop{Connect()};
    std::vector<std::unique_ptr<DesktopService>> services;
    Story story;
};

const QVariantMap kToken = {{"activation-token", "t"}};

TEST_F(DesktopServiceTest, WindowIsCalledOnTheUsersBehalf) {
    StartFirst();
    EXPECT_EQ(ErrorOf("Activate", {kToken}), "");
    EXPECT_EQ(story, Story{"first comes t"});
}

TEST_F(DesktopServiceTest, FilesAreOpenedOnceTheWindowHasCome) {
    StartFirst();
    const QStringList files = {"file:///a%20b/%E5%86%99%23%25.jpg", "file:///c.ply"};
    EXPECT_EQ(ErrorOf("Open", {files, kToken}), "");
    EXPECT_EQ(story, (Story{"first comes t", "first opens /a b/写#%.jpg", "first opens /c.ply"}));
}

TEST_F(DesktopServiceTest, NameThatIsNoUtf8KeepsItsBytes) {
    StartFirst();
    EXPECT_EQ(ErrorOf("Open", {QStringList{"file:///caf%E9.jpg"}, QVariantMap()}), "");
    EXPECT_EQ(story, (Story{"first comes ", "first opens /caf\xE9.jpg"}));
}

TEST_F(DesktopServiceTest, ThereAreNoActions) {
    StartFirst();
    EXPECT_EQ(ErrorOf("ActivateAction", {"quit", QVariantList(), QVariantMap()}),
              "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(story, Story{});
}

TEST_F(DesktopServiceTest, CallsOfAnotherKindAreRefused) {
    StartFirst();
    for (const char* method : {"Activate", "Open", "Quit"})
        EXPECT_NE(ErrorOf(method, {"what"}), "");
    EXPECT_NE(Call("Activate", {kToken}, "org.example.Other").errorName(), "");
    EXPECT_EQ(story, Story{});
}

TEST_F(DesktopServiceTest, ItTellsWhatItAnswers) {
    StartFirst();
    const QString told = Call("Introspect", {}, "org.freedesktop.DBus.Introspectable")
                             .arguments()
                             .value(0)
                             .toString();
    EXPECT_TRUE(told.contains("org.freedesktop.Application"));
}

TEST_F(DesktopServiceTest, SecondProgramHasTheCallsOnceTheFirstEnds) {
    StartFirst();
    Start("second");
    EXPECT_EQ(ErrorOf("Activate", {kToken}), "");
    services.erase(services.begin());
    ASSERT_TRUE(WaitUntil([this] {
        story.clear();
        return ErrorOf("Activate", {kToken}).empty() && !story.empty();
    }));
    EXPECT_EQ(story, Story{"second comes t"});
}

TEST_F(DesktopServiceTest, WithoutABusNobodyCalls) {
    const DesktopService service({}, QDBusConnection::connectToBus("unix:path=/nowhere", "none"));
    test::DeliverPosted();
    EXPECT_FALSE(desktop.interface()->isServiceRegistered(kName));
}

class SessionBusTest : public testing::Test {
  protected:
    ~SessionBusTest() override {
        for (const auto& [name, value] : kept_) {
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }

    const test::TemporaryFolder folder;

  private:
    static std::pair<const char*, QByteArray> Kept(const char* name) {
        return {name, qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray()};
    }
    std::vector<std::pair<const char*, QByteArray>> kept_ = {Kept("DBUS_SESSION_BUS_ADDRESS"),
                                                             Kept("XDG_RUNTIME_DIR")};
};

TEST_F(SessionBusTest, IsThereWhereItsAddressIs) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/a");
    EXPECT_TRUE(HasSessionBus());
}

TEST_F(SessionBusTest, IsThereWhereTheUsersFolderHasIt) {
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", folder.Path().c_str());
    EXPECT_FALSE(HasSessionBus());
    (void)folder.Write("bus", "");
    EXPECT_TRUE(HasSessionBus());
}

TEST_F(SessionBusTest, IsNotStartedForTheProgram) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "autolaunch:");
    EXPECT_FALSE(HasSessionBus());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_FALSE(HasSessionBus());
}

}  // namespace
}  // namespace vistrel
