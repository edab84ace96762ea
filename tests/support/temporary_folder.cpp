// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace vistrel::test {

TemporaryFolder::TemporaryFolder(const std::filesystem::path& parent) {
    std::string name = (parent / "vistrel-test-XXXXXX").native();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::filesystem::filesystem_error("mkdtemp", name,
                                                std::error_code(errno, std::generic_category()));
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TemporaryFolder::Write(std::string_view name, std::string_view bytes) const {
    std::filesystem::path path = path_ / name;
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.native());
    return path;
}

std::string ReadFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.native());
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

}  // namespace vistrel::test
