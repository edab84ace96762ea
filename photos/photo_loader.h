// SPDX-License-Identifier: GPL-3.0-or-later
// What every decoder of photographs looks like.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "photos/decoded_photo.h"

namespace vistrel {

// Decodes the first or main picture of `file`, which holds a whole file. Nothing: it is of another
// kind, whatever its first bytes promise. Throws PhotoError for a file of its kind that is damaged,
// cut short, too large, or needs what is not installed; std::bad_alloc. Any thread, several at a
// time.
using PhotoLoader = std::optional<DecodedPhoto> (*)(std::span<const std::byte> file);

// The decoders that need a library, one file and one module each; see photo_formats.h for their
// order.
[[nodiscard]] std::optional<DecodedPhoto> LoadHeif(std::span<const std::byte> file);
[[nodiscard]] std::optional<DecodedPhoto> LoadWebp(std::span<const std::byte> file);
[[nodiscard]] std::optional<DecodedPhoto> LoadTiff(std::span<const std::byte> file);
[[nodiscard]] std::optional<DecodedPhoto> LoadJxl(std::span<const std::byte> file);
[[nodiscard]] std::optional<DecodedPhoto> LoadRaw(std::span<const std::byte> file);

// What LoadRaw does in a process of its own.
[[nodiscard]] std::optional<DecodedPhoto> DevelopRaw(std::span<const std::byte> file);

}  // namespace vistrel
