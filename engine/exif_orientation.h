// SPDX-License-Identifier: GPL-3.0-or-later
// Which way up a photograph was taken.
#pragma once

#include <string>

namespace vistrel {

// The EXIF orientation (tag 0x0112) of the picture at `path`, as the file has it: a signed 16-bit
// value that is not checked against 1..8. 1 where the file cannot be read, has no such tag, or has
// one that is not a SHORT of at least two bytes. Throws nothing; any thread.
[[nodiscard]] int ReadExifOrientation(const std::wstring& path) noexcept;

}  // namespace vistrel
