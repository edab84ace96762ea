// SPDX-License-Identifier: GPL-3.0-or-later
// A program that shows the browser and ends: loader_probe FOLDER PAGE WHAT [VALUE]
// FOLDER is the browser's, PAGE a file; WHAT says how far it goes before it ends.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <QApplication>
#include <cstdio>
#include <exception>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/loader/browser.h"
#include "tests/viewer/loader/helper_process.h"

namespace vistrel::test {
namespace {

void Say(const std::wstring& line) {
    std::puts(ToUtf8(line).c_str());
    std::fflush(stdout);
}

bool InputHasEnded() {
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, 0) > 0;
}

bool Probe(const std::filesystem::path& folder, const std::filesystem::path& page,
           const std::string& what, const std::string& value) {
    const QByteArray switches = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    Browser browser(folder);
    if (qgetenv("QTWEBENGINE_CHROMIUM_FLAGS") != switches) return false;
    if (qEnvironmentVariableIsSet("QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY")) return false;
    if (what == "create") return true;
    if (what == "load") {
        browser.View().Navigate(L"file://" + FromPath(page));
        return true;
    }
    if (!browser.OpenFile(page)) return false;
    if (what == "show") return true;
    if (what.starts_with("store")) {
        browser.Run(L"localStorage.setItem('key', '" + FromUtf8(value) + L"')");
    }
    if (what == "stick") {
        browser.View().ExecuteScript(L"for (;;) {}", {});
        return true;
    }
    if (what == "work") {
        browser.View().ExecuteScript(
            L"const end = Date.now() + 100; while (Date.now() < end) {} "
            L"localStorage.setItem('key', '" +
                FromUtf8(value) + L"')",
            {});
        return true;
    }
    if (what == "lose") {
        for (const pid_t helper : PageProcesses()) kill(helper, SIGKILL);
        return WaitUntil([&] { return !browser.failures.empty(); });
    }
    Say(browser.Run(L"localStorage.getItem('key')"));
    return !what.ends_with("hold") || WaitUntil(InputHasEnded);
}

}  // namespace
}  // namespace vistrel::test

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    const std::string what = argv[3];
    if (what != "unshared") QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    const QApplication application(argc, argv);
    try {
        return vistrel::test::Probe(argv[1], argv[2], what, argc > 4 ? argv[4] : "") ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Error: %s\n", error.what());
        return 1;
    }
}
