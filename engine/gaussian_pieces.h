// SPDX-License-Identifier: GPL-3.0-or-later
// Work on every Gaussian of a set, shared by all cores.
#pragma once

#include <cstddef>
#include <functional>

namespace vistrel {

// What is done to `count` Gaussians from the `first` one on.
using PieceWork = std::function<void(std::size_t first, std::size_t count)>;

// Calls `work` for all pieces of `total` Gaussians, on as many threads as there are cores, the
// caller's among them. The pieces are the same ones on any number of threads, and all but the last
// hold a multiple of 1024. Throws what `work` throws, and std::bad_alloc. Any thread.
void ForEachPiece(std::size_t total, const PieceWork& work);

}  // namespace vistrel
