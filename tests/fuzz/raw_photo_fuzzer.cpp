// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a photograph in camera raw.
#include "tests/fuzz/any_photo.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/fuzz/tiff_seeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vistrel::fuzz::DecodeAnyPhoto(vistrel::DevelopRaw, data, size);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::fuzz::RawSeeds(), data, size, most, seed);
}
