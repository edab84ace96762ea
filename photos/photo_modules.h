// SPDX-License-Identifier: GPL-3.0-or-later
// The decoders that need a library, as modules that are opened when they are needed.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include "photos/decoded_photo.h"
#include "photos/photo_formats.h"

namespace vistrel {

// What would read the photograph cannot be opened, since a library is not installed. The sentence
// names the package that brings it, where it is known.
class PhotoModuleError : public PhotoError {
  public:
    using PhotoError::PhotoError;
};

class PhotoModules {
  public:
    // They lie in `folder`. Whatever is opened there stays open as long as the process lives.
    explicit PhotoModules(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Lets the decoders that may know `file` try it one after the other. Nothing: none does. Throws
    // PhotoError as they do, PhotoModuleError where one that might know it is missing and no other
    // takes it; std::bad_alloc. Any thread.
    [[nodiscard]] std::optional<DecodedPhoto> Load(std::span<const std::byte> file);

  private:
    using Function = bool (*)(std::span<const std::byte> file, DecodedPhoto& photo);

    [[nodiscard]] Function Open(std::size_t format);

    const std::filesystem::path folder_;
    std::mutex mutex_;
    std::array<Function, kPhotoFormats> opened_ =
        {};  // guarded by mutex_; null before the first use
};

}  // namespace vistrel
