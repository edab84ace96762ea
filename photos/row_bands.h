// SPDX-License-Identifier: GPL-3.0-or-later
// Work on the pixels of a picture, shared by all cores.
#pragma once

#include <cstddef>
#include <functional>

namespace vistrel {

// Calls `work` for pieces that make up the pixels 0..count-1, on several threads at a time where
// there are many; where the system refuses threads, on fewer. `work` throws nothing.
void ForPixelBands(std::size_t count,
                   const std::function<void(std::size_t first, std::size_t count)>& work);

}  // namespace vistrel
