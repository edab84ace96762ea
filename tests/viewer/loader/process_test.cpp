// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <QProcess>
#include <QStringList>

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

namespace vistrel::test {
namespace {

struct Ended {
    int status = -1;
    std::string output;
    std::string messages;
};

// Whether the process has a file of the folder open.
bool Uses(const QProcess& process, const std::filesystem::path& folder) {
    const auto files = std::filesystem::path("/proc") / std::to_string(process.processId()) / "fd";
    for (const auto& file : std::filesystem::directory_iterator(files)) {
        std::error_code closedMeanwhile;
        const auto target = std::filesystem::read_symlink(file.path(), closedMeanwhile);
        if (target.native().starts_with(folder.native() + '/')) return true;
    }
    return false;
}

// Each case looks at whole processes, from their start to their end.
class LoaderProcessTest : public testing::Test {
  protected:
    void Start(QProcess& process, const std::filesystem::path& folder, const char* what,
               const char* value = "") {
        process.start(
            QStringLiteral(VISTREL_LOADER_PROBE),
            {QString::fromStdString(folder.native()), QString::fromStdString(page_.native()),
             QString::fromLatin1(what), QString::fromLatin1(value)});
    }

    static Ended End(QProcess& process) {
        if (!WaitUntil([&] { return process.state() == QProcess::NotRunning; })) process.kill();
        process.waitForFinished();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    Ended Run(const std::filesystem::path& folder, const char* what, const char* value = "") {
        QProcess process;
        Start(process, folder, what, value);
        return End(process);
    }

    // Runs the probe by unshare, with the browser's sandbox turned on.
    Ended RunLockedIn(const QStringList& arguments, const QString& disableSandbox = {}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX"));
        if (!disableSandbox.isNull()) {
            environment.insert(QStringLiteral("QTWEBENGINE_DISABLE_SANDBOX"), disableSandbox);
        }
        process.setProcessEnvironment(environment);
        process.start(
            QStringLiteral("unshare"),
            QStringList{QStringLiteral("--user")} + arguments +
                QStringList{QString::fromStdString(profile_.native()),
                            QString::fromStdString(page_.native()), QStringLiteral("show")});
        return End(process);
    }

    TemporaryFolder folder_;
    const std::filesystem::path profile_ = folder_ / "a/b/profile";
    const std::filesystem::path page_ = folder_.Write("a.html", "<!doctype html><body>");
};

TEST_F(LoaderProcessTest, EveryStateEndsCleanly) {
    for (const char* what : {"create", "load", "show", "stick", "lose", "store"}) {
        const Ended ended = Run(profile_, what);
        EXPECT_EQ(ended.status, 0) << what << ": " << ended.messages;
        EXPECT_EQ(ended.messages.find("Release of profile"), std::string::npos) << ended.messages;
    }
}

TEST_F(LoaderProcessTest, LocalStorageSurvivesTheProcess) {
    EXPECT_EQ(Run(profile_, "store", "kept").output, "\"kept\"\n");
    EXPECT_EQ(Run(profile_, "recall").output, "\"kept\"\n");
    EXPECT_EQ(Run(folder_ / "other", "recall").output, "null\n");
}

TEST_F(LoaderProcessTest, PageInTheMiddleOfItsWorkMayFinishIt) {
    const Ended ended = Run(profile_, "work", "kept");
    EXPECT_EQ(ended.status, 0) << ended.messages;
    EXPECT_EQ(Run(profile_, "recall").output, "\"kept\"\n");
}

TEST_F(LoaderProcessTest, SecondProgramWorksAndLeavesTheFirstsStorageAlone) {
    Run(profile_, "store", "kept");
    QProcess first;
    Start(first, profile_, "hold");
    ASSERT_TRUE(WaitUntil([&] { return first.canReadLine(); }));

    QProcess second;
    Start(second, profile_, "store-and-hold", "second");
    ASSERT_TRUE(WaitUntil([&] { return second.canReadLine(); }));
    EXPECT_TRUE(Uses(first, profile_));
    EXPECT_FALSE(Uses(second, profile_));
    second.closeWriteChannel();
    const Ended secondEnded = End(second);
    EXPECT_EQ(secondEnded.status, 0) << secondEnded.messages;
    EXPECT_EQ(secondEnded.output, "\"second\"\n");

    first.closeWriteChannel();
    const Ended ended = End(first);
    EXPECT_EQ(ended.status, 0) << ended.messages;
    EXPECT_EQ(ended.output, "\"kept\"\n");
    EXPECT_EQ(Run(profile_, "recall").output, "\"kept\"\n");
}

TEST_F(LoaderProcessTest, KilledProgramLeavesAFolderThatWorks) {
    Run(profile_, "store", "kept");
    QProcess killed;
    Start(killed, profile_, "hold");
    ASSERT_TRUE(WaitUntil([&] { return killed.canReadLine(); }));
    killed.kill();
    killed.waitForFinished();
    EXPECT_EQ(Run(profile_, "recall").output, "\"kept\"\n");
}

TEST_F(LoaderProcessTest, FolderThatCannotBeMadeCostsOnlyTheStorage) {
    const auto file = folder_.Write("file", "");
    EXPECT_EQ(Run(file / "profile", "store", "gone").output, "\"gone\"\n");
    EXPECT_EQ(Run(file / "profile", "recall").output, "null\n");
    EXPECT_EQ(ReadFile(file), "");
}

TEST_F(LoaderProcessTest, FolderWithAnyNameKeepsTheStorage) {
    for (const char* name : {"with blank", "\xE6\x97\xA5\xE6\x9C\xAC"}) {
        Run(folder_ / name, "store", "kept");
        EXPECT_EQ(Run(folder_ / name, "recall").output, "\"kept\"\n") << name;
    }
}

TEST_F(LoaderProcessTest, FolderWithAnyNameKeepsTheStorageWithoutALocale) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"LANG", "LANGUAGE", "LC_ALL", "LC_CTYPE"}) {
        environment.remove(QString::fromLatin1(name));
    }
    const auto run = [&](const char* what, const char* value) {
        QProcess process;
        process.setProcessEnvironment(environment);
        Start(process, folder_ / "\xE6\x97\xA5\xE6\x9C\xAC", what, value);
        return End(process).output;
    };
    run("store", "kept");
    EXPECT_EQ(run("recall", ""), "\"kept\"\n");
}

// Where the browser would end the program, there is no browser, and the program goes on.
TEST_F(LoaderProcessTest, RootWithTheSandboxGetsNoBrowser) {
    const Ended ended = RunLockedIn({"--map-root-user", VISTREL_LOADER_PROBE});
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.messages.find("Error: there is no browser environment"), std::string::npos)
        << ended.messages;
}

TEST_F(LoaderProcessTest, ZeroAndNothingLeaveTheSandboxOn) {
    for (const char* value : {"0", ""}) {
        const Ended root = RunLockedIn({"--map-root-user", VISTREL_LOADER_PROBE}, value);
        EXPECT_NE(root.messages.find("there is no browser environment"), std::string::npos)
            << root.messages;
        const Ended user =
            RunLockedIn({"--map-user=1234", "--map-group=1234", VISTREL_LOADER_PROBE}, value);
        EXPECT_EQ(user.status, 0) << user.messages;
        EXPECT_EQ(user.messages.find("Sandboxing disabled"), std::string::npos) << user.messages;
    }
    const Ended off =
        RunLockedIn({"--map-user=1234", "--map-group=1234", VISTREL_LOADER_PROBE}, "1");
    EXPECT_NE(off.messages.find("Sandboxing disabled"), std::string::npos) << off.messages;
}

TEST_F(LoaderProcessTest, MachineWithoutNamespacesGetsNoBrowser) {
    const Ended ended =
        RunLockedIn({"--map-user=1234", "--map-group=1234", "--keep-caps", "sh", "-c",
                     "echo 0 > /proc/sys/user/max_user_namespaces && exec \"$0\" \"$@\"",
                     VISTREL_LOADER_PROBE});
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.messages.find("Error: there is no browser environment"), std::string::npos)
        << ended.messages;
}

TEST_F(LoaderProcessTest, ProgramWithoutSharedContextsGetsNoBrowserThatCannotDraw) {
    const Ended ended = Run(profile_, "unshared");
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    // This browser shares the contexts by itself.
    EXPECT_EQ(ended.status, 0) << ended.messages;
    EXPECT_EQ(ended.output, "null\n");
#else
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.messages.find("Error: there is no browser environment"), std::string::npos)
        << ended.messages;
#endif
}

// The browser lists the switches that it has read when it is asked to.
TEST_F(LoaderProcessTest, SwitchesOfTheUserAreKeptAndOursAreAdded) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QTWEBENGINE_CHROMIUM_FLAGS"),
                       QStringLiteral("--ignore-gpu-blocklist --mine=\"a b\""));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                       QStringLiteral("qt.webenginecontext=true"));
    process.setProcessEnvironment(environment);
    Start(process, profile_, "create");
    const Ended ended = End(process);
    EXPECT_EQ(ended.status, 0);
    QStringList lines = QString::fromStdString(ended.messages).split(u'\n');
    for (QString& line : lines) line = line.trimmed();
    for (const char* line :
         {"mine a b", "ignore-gpu-blocklist", "enable-unsafe-swiftshader", "disable-web-security",
          "allow-file-access-from-files", "allow-running-insecure-content",
          "force-webrtc-ip-handling-policy disable_non_proxied_udp",
          "host-resolver-rules MAP * ~NOTFOUND"}) {
        EXPECT_TRUE(lines.contains(QStringLiteral("*  ") + QLatin1String(line)))
            << line << " in " << ended.messages;
    }
}

TEST_F(LoaderProcessTest, LibraryShowsItsTwoFunctionsAndNothingElse) {
    QProcess process;
    process.start(QStringLiteral("nm"),
                  {QStringLiteral("--dynamic"), QStringLiteral("--defined-only"),
                   QStringLiteral("--format=just-symbols"), QStringLiteral(VISTREL_LOADER)});
    EXPECT_EQ(End(process).output,
              "CreateCoreWebView2EnvironmentWithOptions\nVistrelWebViewInterfaceNumber\n");
}

}  // namespace
}  // namespace vistrel::test
