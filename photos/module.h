// SPDX-License-Identifier: GPL-3.0-or-later
// What a decoder's module exports.
#pragma once

#include <cstddef>
#include <span>

#include "photos/decoded_photo.h"

// As a PhotoLoader; false: the file is of another kind, and `photo` is untouched.
extern "C" bool VistrelLoadPhoto(std::span<const std::byte> file, vistrel::DecodedPhoto& photo);

namespace vistrel {

inline constexpr const char* kPhotoModuleFunction = "VistrelLoadPhoto";

}  // namespace vistrel
