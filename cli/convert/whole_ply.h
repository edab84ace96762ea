// Whether a PLY file that was just written got onto the disk in full.
#pragma once

#include <filesystem>

namespace vistrel {

// True when the regular file at `path` is as long as its own header says; also true for what is no
// regular file (a pipe, a device), which has no length to compare. For files that WriteSplatPly
// wrote. Throws nothing.
[[nodiscard]] bool IsWholeSplatPly(const std::filesystem::path& path) noexcept;

}  // namespace vistrel
