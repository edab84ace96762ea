// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/capture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <sstream>
#include <string_view>

namespace vistrel::test {

std::string LogOf(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    work();
    std::istringstream log(testing::internal::GetCapturedStdout());
    std::string text;
    for (std::string line; std::getline(log, line); text += '\n') {
        constexpr std::string_view kLevel = "INFO - ";
        const std::size_t level = line.find(kLevel);
        text += level == std::string::npos ? line : line.substr(level + kLevel.size());
    }
    return text;
}

std::string FailureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

}  // namespace vistrel::test
