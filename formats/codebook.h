// SPDX-License-Identifier: GPL-3.0-or-later
// Tables of 256 numbers, with which one byte stands for any of many values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace vistrel {

inline constexpr std::size_t kCodebookSize = 256;

// Entries in ascending order; the last one fills the places of those that are not needed. One
// object is for any number of threads.
class Codebook {
  public:
    // For the values of all rows, at least one; those below `least`, which may be infinite, count
    // as `least`, and the others are finite. No more than 256 different values are kept exactly; of
    // more, each is near an entry, the nearer the more values there are around it, but not so much
    // nearer that rare ones suffer. Throws std::bad_alloc. Any thread.
    explicit Codebook(const std::vector<std::span<const float>>& rows,
                      float least = std::numeric_limits<float>::lowest());

    [[nodiscard]] const std::array<float, kCodebookSize>& Entries() const { return entries_; }

    // Makes the entry next to 0 be 0, for values of which 0 stands for none.
    void KeepZero();

    // The place of the entry next to `value`.
    [[nodiscard]] std::uint8_t Nearest(float value) const;

  private:
    void Index();

    std::array<float, kCodebookSize> entries_{};
    std::array<float, kCodebookSize> borders_{};  // between an entry and the next one
    // Where the search begins: for equal parts of the values' range, a place at its beginning.
    std::vector<std::uint8_t> starts_;
    double partsPerUnit_ = 0.0;
    float least_;
};

}  // namespace vistrel
