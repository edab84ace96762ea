// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/raw_scene.h"

namespace vistrel {
namespace {

constexpr std::size_t kRound = 32;

}  // namespace

RawScene::RawScene(const SceneFacts& facts)
    : facts_(facts),
      stride_((facts.count + kRound - 1) / kRound * kRound),
      values_(RawValues(facts.degree) * stride_) {}

}  // namespace vistrel
