// SPDX-License-Identifier: GPL-3.0-or-later
// A decoder as a module, which is opened when the first photograph of its kind comes. The build
// names the decoder.
#include "photos/module.h"

#include <utility>

#include "photos/photo_loader.h"

bool VistrelLoadPhoto(std::span<const std::byte> file, vistrel::DecodedPhoto& photo) {
    std::optional<vistrel::DecodedPhoto> loaded = vistrel::VISTREL_PHOTO_LOADER(file);
    if (!loaded) return false;
    photo = std::move(*loaded);
    return true;
}
