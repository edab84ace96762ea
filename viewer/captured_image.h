// Keeps a captured picture.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace vistrel {

// Writes `png` to the file at `path`. A file that is there is replaced in one step once the new one
// is whole; links are followed. Returns whether that worked; if not, no half file is left, and what
// was there is left alone wherever its folder can be written. Any thread; throws std::bad_alloc
// only.
bool WriteCapturedImage(const std::wstring& path, std::span<const std::byte> png);

}  // namespace vistrel
