// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/test_models.h"

#include <stdexcept>
#include <string>

namespace vistrel::test {

std::filesystem::path ModelFile(std::string_view name) {
    std::filesystem::path file =
        std::filesystem::path(VISTREL_TEST_MODELS) / std::string(name).append(".onnx");
    if (!std::filesystem::exists(file)) throw std::runtime_error("no network " + file.native());
    return file;
}

}  // namespace vistrel::test
