// SPDX-License-Identifier: GPL-3.0-or-later
// A decoder where it can end nothing but itself.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "photos/photo_loader.h"

namespace vistrel {

// What `loader` makes of `file`, but for colours and EXIF data, which camera raw does not tell
// here. The loader runs in a process of its own, a copy of this one: older versions of libraw end
// the process on some damaged files, and a batch shall go on to the next photograph. Costs two
// copies of the pixels. That process ends with the calling thread.
//
// Throws as a PhotoLoader does, and PhotoError where the process ends without a result or cannot be
// made. Any thread, several at a time; none of the others may hold a lock that the loader needs.
[[nodiscard]] std::optional<DecodedPhoto> LoadInOwnProcess(PhotoLoader loader,
                                                           std::span<const std::byte> file);

}  // namespace vistrel
