// Files that are read and written in one piece. Any thread; nothing throws.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

// All bytes of the file; nothing when it is no regular file or cannot be read
// to its end.
[[nodiscard]] std::optional<std::string> ReadWholeFile(const std::filesystem::path& path);

// Whether there is a file, a folder or anything else; nothing when that cannot be found out.
[[nodiscard]] std::optional<bool> Exists(const std::filesystem::path& path);

// Puts `bytes` in the place of the file, or makes it: other programs see the old file or the new
// one and never a part. The file keeps its permissions, a link its target's place. Where the folder
// takes no new file, an existing one is written over in place. False when the bytes are not all
// there; an old file is then whole still, unless it was being written over.
// `onDisk`: return only when they survive a loss of power.
[[nodiscard]] bool WriteWholeFile(const std::filesystem::path& path, std::string_view bytes,
                                  bool onDisk);

}  // namespace vistrel
