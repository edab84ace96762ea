// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/raw_process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string>

namespace vistrel {
namespace {

using FileBytes = std::span<const std::byte>;
using Loaded = std::optional<DecodedPhoto>;

constexpr std::array<std::byte, 4> kFile = {std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};

// A picture of words that are counted up from the file's first byte.
Loaded LoadWords(FileBytes file) {
    DecodedPhoto photo;
    photo.width = 300;
    photo.height = 200;
    photo.format = SampleFormat::Words;
    photo.opaque = true;
    photo.orientation = 6;
    photo.reduction = 2;
    AllocateSamples(photo);
    auto* const words = reinterpret_cast<std::uint16_t*>(photo.samples.get());
    for (std::size_t i = 0; i < 300 * 200 * kPixelBytes; ++i) {
        words[i] = static_cast<std::uint16_t>(i + std::to_integer<std::size_t>(file[0]));
    }
    return photo;
}

std::string RefusalOf(PhotoLoader loader) {
    try {
        static_cast<void>(LoadInOwnProcess(loader, kFile));
    } catch (const PhotoError& error) {
        return error.what();
    }
    return "none";
}

constexpr const char* kFailure = "It is damaged: its library fails on it.";

TEST(RawProcess, PhotographComesBackAsItWasLoaded) {
    const Loaded photo = LoadInOwnProcess(LoadWords, kFile);
    ASSERT_TRUE(photo);
    EXPECT_EQ(photo->width, 300);
    EXPECT_EQ(photo->height, 200);
    EXPECT_EQ(photo->format, SampleFormat::Words);
    EXPECT_TRUE(photo->opaque);
    EXPECT_EQ(photo->orientation, 6);
    EXPECT_EQ(photo->reduction, 2);
    const Loaded expected = LoadWords(kFile);
    const std::size_t bytes = 300 * 200 * kPixelBytes * sizeof(std::uint16_t);
    EXPECT_TRUE(
        std::equal(photo->samples.get(), photo->samples.get() + bytes, expected->samples.get()));
}

TEST(RawProcess, FileOfAnotherKindIsNotMine) {
    EXPECT_FALSE(LoadInOwnProcess([](FileBytes) -> Loaded { return {}; }, kFile));
}

TEST(RawProcess, RefusalComesBackWithItsSentence) {
    EXPECT_EQ(RefusalOf([](FileBytes) -> Loaded { throw PhotoError("It is cut short."); }),
              "It is cut short.");
}

TEST(RawProcess, LackOfMemoryComesBackAsSuch) {
    EXPECT_THROW(static_cast<void>(
                     LoadInOwnProcess([](FileBytes) -> Loaded { throw std::bad_alloc(); }, kFile)),
                 std::bad_alloc);
}

TEST(RawProcess, LibraryThatAbortsIsARefusal) {
    EXPECT_EQ(RefusalOf([](FileBytes) -> Loaded { std::abort(); }), kFailure);
}

TEST(RawProcess, LibraryThatIsKilledIsARefusal) {
    EXPECT_EQ(RefusalOf([](FileBytes) -> Loaded {
                  raise(SIGKILL);
                  return {};
              }),
              kFailure);
}

TEST(RawProcess, LibraryThatLeavesWithoutAResultIsARefusal) {
    EXPECT_EQ(RefusalOf([](FileBytes) -> Loaded { _exit(EXIT_SUCCESS); }), kFailure);
}

}  // namespace
}  // namespace vistrel
