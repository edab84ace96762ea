// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_end.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

// With a gdbus that notes what it is asked for, on a desktop.
class NotifyDesktopTest : public testing::Test {
  protected:
    NotifyDesktopTest() {
        const std::filesystem::path program = folder_.Write(
            "gdbus", "#!/bin/sh\nprintf '%s|' \"$@\" > '" + (folder_ / "asked").native() + "'\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        Set("PATH", folder_.Path().native() + ":" + std::getenv("PATH"));
        Set("DISPLAY", ":7");
        Set("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    }
    ~NotifyDesktopTest() override {
        for (const auto& [name, value] : former_) {
            if (value) {
                setenv(name.c_str(), value->c_str(), 1);
            } else {
                unsetenv(name.c_str());
            }
        }
    }
    NotifyDesktopTest(const NotifyDesktopTest&) = delete;
    NotifyDesktopTest& operator=(const NotifyDesktopTest&) = delete;

    void Set(const std::string& name, const std::string& value) {
        const char* const former = std::getenv(name.c_str());
        former_.try_emplace(name, former == nullptr ? std::nullopt : std::optional(former));
        setenv(name.c_str(), value.c_str(), 1);
    }

    [[nodiscard]] bool WasAsked() const { return std::filesystem::exists(folder_ / "asked"); }

    test::TemporaryFolder folder_;

  private:
    std::map<std::string, std::optional<std::string>> former_;
};

TEST_F(NotifyDesktopTest, TextGoesToTheDesktop) {
    NotifyDesktop("Converted 2 of 2.");
    ASSERT_TRUE(WasAsked());
    const std::string asked = test::ReadFile(folder_ / "asked");
    EXPECT_TRUE(asked.starts_with("call|--session|")) << asked;
    EXPECT_NE(asked.find("|org.freedesktop.Notifications.Notify|\"Vistrel\"|uint32 0|\"vistrel\"|"
                         "\"Vistrel\"|\"Converted 2 of 2.\"|@as []|@a{sv} {}|int32 -1|"),
              std::string::npos)
        << asked;
}

TEST_F(NotifyDesktopTest, NobodyIsAskedWithoutADesktop) {
    Set("DISPLAY", "");
    Set("WAYLAND_DISPLAY", "");
    NotifyDesktop("Converted 2 of 2.");
    EXPECT_FALSE(WasAsked());
}

TEST_F(NotifyDesktopTest, NobodyIsAskedWithoutABus) {
    Set("DBUS_SESSION_BUS_ADDRESS", "");
    Set("XDG_RUNTIME_DIR", folder_.Path().native());
    NotifyDesktop("Converted 2 of 2.");
    EXPECT_FALSE(WasAsked());
}

TEST_F(NotifyDesktopTest, MissingProgramIsNoFailure) {
    Set("PATH", "/nowhere");
    NotifyDesktop("Converted 2 of 2.");
    EXPECT_FALSE(WasAsked());
}

}  // namespace
}  // namespace vistrel
