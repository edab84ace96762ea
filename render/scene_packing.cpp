// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/scene_packing.h"

#include "render/gaussian_packing.h"

namespace vistrel {

void PackingSink::Begin(const SceneFacts& facts) {
    file.scene = GaussianScene(facts.count, facts.degree);
    file.camera = facts.camera;
}

void PackingSink::Take(std::size_t first, std::size_t count, const RawRows& rows) {
    PackGaussians(rows, count, file.scene.Planes(), first);
}

}  // namespace vistrel
