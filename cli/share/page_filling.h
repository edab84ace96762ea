// SPDX-License-Identifier: GPL-3.0-or-later
// Puts a scene and what belongs to it into the page that shows it.
//
// The page has four places, once each and in this order: `(the scene's title)`, `(the scene's
// poster)`, `(the scene's facts)` and `(the scene's bytes)`. None of them lies in a text whose hash
// is part of the page's policy.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/byte_sink.h"
#include "formats/raw_scene.h"
#include "render/eye_pair.h"

namespace vistrel {

struct PageContent {
    std::string title = {};                       // any bytes; shown as far as they are UTF-8
    std::vector<std::byte> poster = {};           // a WebP file; may be empty
    std::optional<PhotographCamera> camera = {};  // its numbers are finite
    std::optional<DepthRange> depths = {};        // of what that camera sees
    bool isFree = false;                          // the page lets its user go anywhere
};

// One object is for any number of threads.
class PageFilling {
  public:
    // The template outlives this object. Throws std::logic_error where it has not the places.
    PageFilling(std::string_view page, const PageContent& content);

    // How long the page is with a scene of so many bytes.
    [[nodiscard]] std::uint64_t Size(std::uint64_t sceneBytes) const;

    // The most bytes that a scene may have in a page of `pageBytes`; 0 where there is room for
    // none.
    [[nodiscard]] std::uint64_t Room(std::uint64_t pageBytes) const;

    // Throws what the sink throws, and std::bad_alloc.
    void Write(std::span<const std::byte> scene, ByteSink& sink) const;

  private:
    [[nodiscard]] std::string Facts(std::uint64_t sceneBytes) const;

    static constexpr std::size_t kPlaces = 4;

    std::array<std::string_view, kPlaces + 1> parts_;  // of the template, around its places
    std::string title_;                                // as HTML text
    std::string poster_;                               // as an address
    std::string facts_;                                // JSON but for its end
};

}  // namespace vistrel
