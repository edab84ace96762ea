// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/place_order.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace vistrel {
namespace {

constexpr int kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;

template <typename Key>
struct KeyedPlace {
    Key key;
    std::uint32_t place;
};

// Sorts by the digit that begins at bit `shift`; equal ones keep their order. False, and nothing is
// done, where all have the same digit.
template <typename Key>
bool SortByDigit(int shift, const std::vector<KeyedPlace<Key>>& from,
                 std::vector<KeyedPlace<Key>>& to) {
    const auto digitOf = [shift](const KeyedPlace<Key>& keyed) {
        return static_cast<std::size_t>(keyed.key >> shift) & (kDigits - 1);
    };
    std::array<std::size_t, kDigits + 1> begins{};
    for (const KeyedPlace<Key>& keyed : from) ++begins[digitOf(keyed) + 1];
    if (std::ranges::find(begins, from.size()) != begins.end()) return false;
    for (std::size_t i = 1; i < begins.size(); ++i) begins[i] += begins[i - 1];
    for (const KeyedPlace<Key>& keyed : from) to[begins[digitOf(keyed)]++] = keyed;
    return true;
}

template <typename Key>
std::vector<std::uint32_t> SortedPlaces(std::span<const Key> keys) {
    std::vector<KeyedPlace<Key>> sorted(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        sorted[i] = {keys[i], static_cast<std::uint32_t>(i)};
    }
    std::vector<KeyedPlace<Key>> other(keys.size());
    for (int shift = 0; shift < std::numeric_limits<Key>::digits; shift += kDigitBits) {
        if (SortByDigit(shift, sorted, other)) sorted.swap(other);
    }
    std::vector<std::uint32_t> places(keys.size());
    std::ranges::transform(sorted, places.begin(), &KeyedPlace<Key>::place);
    return places;
}

}  // namespace

std::vector<std::uint32_t> PlacesByKey(std::span<const std::uint64_t> keys) {
    return SortedPlaces(keys);
}

std::vector<std::uint32_t> PlacesByKey(std::span<const std::uint32_t> keys) {
    return SortedPlaces(keys);
}

}  // namespace vistrel
