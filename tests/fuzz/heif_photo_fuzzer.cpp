// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a photograph in HEIC or AVIF.
#include "tests/fuzz/any_photo.h"
#include "tests/fuzz/heif_seeds.h"
#include "tests/fuzz/seeded_mutation.h"

// Leaks of libraries below libheif: of an encoder always, of a decoder where a picture has no data.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265\nleak:libdav1d\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vistrel::fuzz::DecodeAnyPhoto(vistrel::LoadHeif, data, size);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::fuzz::HeifSeeds(), data, size, most, seed);
}
