// SPDX-License-Identifier: GPL-3.0-or-later
// Writes files that are one record after the other.
#pragma once

#include <cstddef>
#include <functional>

#include "formats/byte_sink.h"

namespace vistrel {

// Fills the records from place `first` on.
using EncodePiece = std::function<void(std::size_t first, std::size_t count, std::byte* records)>;

// Puts `count` records of `recordBytes` each into the sink, made on as many threads as `threads`
// says, the caller included; 0: one per core. `encode` is asked for kScenePiece of them at a time,
// from several threads at once. What it and the sink throw is thrown here.
void WriteRecords(std::size_t count, std::size_t recordBytes, int threads, ByteSink& sink,
                  const EncodePiece& encode);

}  // namespace vistrel
