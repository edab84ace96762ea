// SPDX-License-Identifier: GPL-3.0-or-later
// The caller does all the work: without shared memory there are no other threads.
#include "base/workers.h"

namespace vistrel {

class Workers::Crew {};

Workers::Workers(int /*threads*/) {}

Workers::~Workers() = default;

int Workers::Count() const {
    return 1;
}

void Workers::Run(std::size_t pieces, const Work& work) {
    for (std::size_t piece = 0; piece < pieces; ++piece) work(piece, 0);
}

}  // namespace vistrel
