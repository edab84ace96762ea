// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/depth_order.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vistrel {
namespace {

constexpr int kDigitBits = 8;
constexpr std::size_t kDigitValues = std::size_t{1} << kDigitBits;
constexpr std::size_t kPasses = 3;
constexpr std::size_t kFew = 24;  // up to here, counting digits costs more than comparing

using Counts = std::array<std::uint32_t, kDigitValues>;

void ToBeginnings(Counts& counts) {
    std::uint32_t sum = 0;
    for (std::uint32_t& count : counts) {
        const std::uint32_t own = count;
        count = sum;
        sum += own;
    }
}

}  // namespace

void DepthOrder::Begin(std::size_t most) {
    size_ = 0;
    if (indices_.size() >= most) return;
    indices_.resize(most);
    entries_.resize(most);
    others_.resize(most);
}

void DepthOrder::Add(std::size_t first, std::span<const std::uint16_t> places,
                     const SplatLook* looks) {
    for (const std::uint16_t place : places) {
        const std::size_t index = first + place;
        __builtin_prefetch(looks + index);
        indices_[size_++] = static_cast<std::uint32_t>(index);
    }
}

std::span<const std::uint32_t> DepthOrder::Sort(const SplatLook* looks) {
    std::uint32_t least = ~0U;
    std::uint32_t most = 0;
    for (std::size_t i = 0; i < size_; ++i) {
        const auto key = std::bit_cast<std::uint32_t>(looks[indices_[i]].depth);
        entries_[i] = {key, indices_[i]};
        least = std::min(least, key);
        most = std::max(most, key);
    }
    if (size_ <= kFew) {
        SortFew();
    } else {
        constexpr int kKeyBits = static_cast<int>(kPasses) * kDigitBits;
        SortByDigits(least, std::max(0, static_cast<int>(std::bit_width(most - least)) - kKeyBits));
    }
    return {indices_.data(), size_};
}

void DepthOrder::SortFew() {
    const std::span<Entry> all(entries_.data(), size_);
    // Insertion: each goes in front of those before it that are farther.
    for (std::size_t i = 1; i < all.size(); ++i) {
        const Entry entry = all[i];
        std::size_t to = i;
        for (; to > 0 && all[to - 1].key > entry.key; --to) all[to] = all[to - 1];
        all[to] = entry;
    }
    std::ranges::transform(all, indices_.begin(), &Entry::index);
}

// Radix sort, the lowest digit first.
void DepthOrder::SortByDigits(std::uint32_t least, int shift) {
    std::array<Counts, kPasses> counts{};
    const auto digit = [&](const Entry& entry, std::size_t pass) {
        return (entry.key - least) >> (shift + static_cast<int>(pass) * kDigitBits) &
               (kDigitValues - 1);
    };
    const std::span<const Entry> all(entries_.data(), size_);
    for (const Entry& entry : all) {
        for (std::size_t pass = 0; pass < kPasses; ++pass) ++counts[pass][digit(entry, pass)];
    }
    for (Counts& ofPass : counts) ToBeginnings(ofPass);
    for (std::size_t i = 0; i < size_; ++i) {
        others_[counts[0][digit(entries_[i], 0)]++] = entries_[i];
    }
    for (std::size_t i = 0; i < size_; ++i) {
        entries_[counts[1][digit(others_[i], 1)]++] = others_[i];
    }
    for (const Entry& entry : all) indices_[counts[2][digit(entry, 2)]++] = entry.index;
}

}  // namespace vistrel
