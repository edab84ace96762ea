// SPDX-License-Identifier: GPL-3.0-or-later
// What every reader and writer of scene files looks like.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/input_file.h"
#include "formats/byte_sink.h"
#include "formats/raw_scene.h"
#include "formats/scene_sink.h"

namespace vistrel {

// How scenes lie in SPZ files, which do not tell.
enum class SpzFrame : std::uint8_t {
    AsPly,  // like the PLY file, x right, y down, z forward: what today's programs make and show
    RightUpBack,  // x right, y up, z backward: what the format's library documents
};

// What a reader gets.
struct SceneInput {
    const InputFile& file;
    std::string ending;  // of the file's name, small letters with the dot; for formats
                         // that their bytes do not show
    std::filesystem::path folder = {};  // of the file; where a glTF file's further files are
    SpzFrame spzFrame = SpzFrame::AsPly;
    int threads = 0;  // to read on, the caller included; 0: one per core
};

// Reads a scene into the sink, or returns false for a file that is not of the format; then the sink
// is untouched. A file that is of the format and damaged throws std::runtime_error with a sentence
// about "it" or "the file" that has no name and no full stop, e.g. "it is cut short"; memory that
// the file's honest size does not explain is never asked for. Throws std::bad_alloc. Any thread.
using SceneReader = bool (*)(const SceneInput& input, SceneSink& sink);

// What a writer is told.
struct SceneWriteOptions {
    SpzFrame spzFrame = SpzFrame::AsPly;
    int spzVersion = 3;  // or 4, which fewer programs read
    int threads = 0;     // as above
};

// Writes a scene of at least one Gaussian. Gaussians with a position, rotation, scale or colour
// that is not finite are to be left out before (see formats/thinning.h), so that every writer gets
// finite values; infinite logits and minus infinity as a logarithm of a scale stay. Throws what the
// sink throws, std::bad_alloc, and std::runtime_error for a scene that the format cannot hold. Any
// thread.
using SceneWriter = void (*)(const RawScene& scene, const SceneWriteOptions& options,
                             ByteSink& sink);

}  // namespace vistrel
