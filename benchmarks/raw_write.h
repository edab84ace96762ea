// SPDX-License-Identifier: GPL-3.0-or-later
// The floor under every writer: the bare system call.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace vistrel {

// Writes `bytes` to `path` from where they lie. Throws std::runtime_error.
inline void WriteRaw(const std::string& path, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written <= 0) throw std::runtime_error("cannot write " + path);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    close(file);
}

}  // namespace vistrel
