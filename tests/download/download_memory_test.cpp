// SPDX-License-Identifier: GPL-3.0-or-later
// A model of three gigabytes: its memory and its numbers.
#include <malloc.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "tests/download/download_test.h"

namespace vistrel {
namespace {

using test::Connection;
using test::kOkHead;
using test::ScriptedServer;

constexpr std::int64_t kMiB = 1'048'576;
constexpr std::int64_t kTotal = 3072 * kMiB;

// A line of /proc/self/status, in bytes.
std::int64_t Status(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":")) return std::stoll(line.substr(key.size() + 1)) * 1024;
    }
    throw std::runtime_error("no " + key);
}

class DownloadMemoryTest : public test::DownloadTest {};

TEST_F(DownloadMemoryTest, DoesNotGrowWithTheModel) {
    std::filesystem::create_directories(destination_.parent_path());
    std::filesystem::create_symlink("/dev/null", Temporary());  // spares the disk
    const std::string zeros(static_cast<std::size_t>(kMiB), '\0');
    const ScriptedServer server([&zeros](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "Content-Length: " + std::to_string(kTotal) + "\r\n\r\n");
        for (std::int64_t sent = 0; sent < kTotal; sent += kMiB) connection.Send(zeros);
    });
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    const auto end = std::make_shared<std::promise<bool>>();
    double fraction = 0;
    std::wstring text;

    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // sets the peak back to the present value
    const std::int64_t before = Status("VmRSS");
    ModelDownloader::StartDownload(
        downloader, FromPath(destination_),
        [&](double share, const std::wstring& progress) {
            fraction = share;
            text = progress;
        },
        [end](bool success, const std::wstring&) { end->set_value(success); });
    EXPECT_TRUE(end->get_future().get());

    EXPECT_LT(Status("VmHWM") - before, 8 * kMiB);
    EXPECT_EQ(fraction, 1.0);
    EXPECT_EQ(text, L"Downloading\u2026 3072 MB / 3072 MB");
}

}  // namespace
}  // namespace vistrel
