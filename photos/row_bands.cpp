// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/row_bands.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace vistrel {
namespace {

// Large enough that fetching the next one costs nothing, small enough that no core waits long.
constexpr std::size_t kPiece = 1 << 16;

}  // namespace

void ForPixelBands(std::size_t count,
                   const std::function<void(std::size_t first, std::size_t count)>& work) {
    std::atomic<std::size_t> next = 0;
    const auto run = [&] {
        for (std::size_t first = next.fetch_add(kPiece); first < count;
             first = next.fetch_add(kPiece)) {
            work(first, std::min(kPiece, count - first));
        }
    };
    const std::size_t pieces = (count + kPiece - 1) / kPiece;
    const std::size_t threads = std::min<std::size_t>(pieces, std::thread::hardware_concurrency());
    std::vector<std::jthread> others;
    if (threads > 1) others.reserve(threads - 1);
    try {
        while (others.size() + 1 < threads) others.emplace_back(run);
    } catch (const std::system_error&) {
        // Those that there are do all of it.
    }
    run();
}

}  // namespace vistrel
