// SPDX-License-Identifier: GPL-3.0-or-later
// Where a reader puts a scene, piece by piece, so that whoever keeps it in another form never holds
// it twice.
#pragma once

#include <cstddef>
#include <functional>

#include "formats/raw_scene.h"

namespace vistrel {

class SceneSink {
  public:
    SceneSink() = default;
    virtual ~SceneSink() = default;
    SceneSink(const SceneSink&) = delete;
    SceneSink& operator=(const SceneSink&) = delete;

    // Once and first, when it is certain that the file is as long as it claims. Throws
    // std::bad_alloc.
    virtual void Begin(const SceneFacts& facts) = 0;

    // The Gaussians from place `first`, a multiple of 32, on. The rows have room for `count`
    // rounded up to a multiple of 32; what lies behind the last one is any number. Called from
    // several threads at once, for different places.
    virtual void Take(std::size_t first, std::size_t count, const RawRows& rows) = 0;
};

// Keeps a scene as it comes.
class RawSceneSink : public SceneSink {
  public:
    void Begin(const SceneFacts& facts) override;
    void Take(std::size_t first, std::size_t count, const RawRows& rows) override;

    RawScene scene;
};

// How many Gaussians DeliverPieces asks for at a time.
inline constexpr std::size_t kScenePiece = 1024;

// Fills the rows, whose stride is kScenePiece, with the Gaussians from place `first` on.
using DecodePiece = std::function<void(std::size_t first, std::size_t count, float* rows)>;

// Begins the scene, and hands over all its pieces, from as many threads as `threads` says, the
// caller included; 0: one per core. What `decode` and the sink throw is thrown here.
void DeliverPieces(const SceneFacts& facts, SceneSink& sink, int threads,
                   const DecodePiece& decode);

}  // namespace vistrel
