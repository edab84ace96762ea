// SPDX-License-Identifier: GPL-3.0-or-later
// Reads scenes from PLY files: those that the engine writes and any other of 3D Gaussian Splatting.
#pragma once

#include <filesystem>
#include <optional>

#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"

namespace vistrel {

struct SceneFile {
    GaussianScene scene;
    // Of the photograph that the scene was made from, where the file tells it.
    std::optional<PhotographCamera> camera;
};

// Reads the element `vertex` of a binary little-endian file: its properties x, y, z, f_dc_0 to 2,
// opacity, scale_0 to 2 and rot_0 to 3 must be there as 32-bit floats, in any order; f_rest_0 and
// following are harmonics of degree 1 (9 of them), 2 (24) or 3 (45). Their meaning is that of
// render/gaussian_packing.h. Other properties and elements are passed over. The camera comes from
// the elements `intrinsic` (9 floats) and `image_size` (2 unsigned numbers).
//
// The file is read in pieces on as many threads as `threads` says, the caller included; 0: one per
// core. Nothing large is allocated before it is certain that the file is as long as its header
// tells.
//
// Throws std::runtime_error that tells what is wrong, and std::bad_alloc. Any thread.
[[nodiscard]] SceneFile ReadScenePly(const std::filesystem::path& path, int threads = 0);

}  // namespace vistrel
