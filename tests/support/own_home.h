// SPDX-License-Identifier: GPL-3.0-or-later
// A home folder of a test's own: nothing of the user's is read or written while it lives.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace vistrel::test {

// Environment variables, put back when it goes. Not while other threads look at them.
class Variables {
  public:
    Variables() = default;
    ~Variables() {
        for (auto old = old_.rbegin(); old != old_.rend(); ++old) Put(old->first, old->second);
    }
    Variables(const Variables&) = delete;
    Variables& operator=(const Variables&) = delete;

    void Set(const std::string& name, const std::optional<std::string>& value) {
        const char* old = std::getenv(name.c_str());
        old_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        Put(name, value);
    }
    void Unset(const std::string& name) { Set(name, std::nullopt); }

  private:
    static void Put(const std::string& name, const std::optional<std::string>& value) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> old_;
};

// HOME is an empty folder, TMPDIR an empty folder beside it; the XDG variables are not set.
class OwnHome {
  public:
    OwnHome() {
        std::filesystem::create_directories(Home());
        std::filesystem::create_directories(Temporary());
        variables.Set("HOME", Home().string());
        variables.Set("TMPDIR", Temporary().string());
        for (const char* name :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "XDG_STATE_HOME"})
            variables.Unset(name);
    }
    ~OwnHome() {
        for (const auto& folder : protected_)
            std::filesystem::permissions(folder, std::filesystem::perms{0755});
    }
    OwnHome(const OwnHome&) = delete;
    OwnHome& operator=(const OwnHome&) = delete;

    [[nodiscard]] std::filesystem::path Home() const { return folder_ / "home"; }
    [[nodiscard]] std::filesystem::path Temporary() const { return folder_ / "temporary"; }

    // Lets everybody read `folder`, which is below Home(), and nobody without root's rights write.
    void Protect(const std::filesystem::path& folder) {
        for (auto above = folder; above != folder_.Path().parent_path();
             above = above.parent_path())
            std::filesystem::permissions(above, std::filesystem::perms{0755});
        std::filesystem::permissions(folder, std::filesystem::perms{0555});
        protected_.push_back(folder);
    }

  private:
    TemporaryFolder folder_;
    std::vector<std::filesystem::path> protected_;

  public:
    Variables variables;
};

}  // namespace vistrel::test
