// SPDX-License-Identifier: GPL-3.0-or-later
// The small networks that the build makes for the tests (tests/support/models/generate.py).
#pragma once

#include <filesystem>
#include <string_view>

namespace vistrel::test {

// The file of the network `name`, which is there once the tests are built.
[[nodiscard]] std::filesystem::path ModelFile(std::string_view name);

}  // namespace vistrel::test
