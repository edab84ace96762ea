// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/zstd_frames.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace vistrel {
namespace {

using ZstdFrame = std::vector<std::byte>;

std::string FrameRefusal(std::span<const std::byte> frame, std::size_t bytes) {
    try {
        static_cast<void>(UnpackZstd(frame, bytes));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(ZstdFrames, ComeBack) {
    ZstdFrame content(100000);
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::byte>(i * i);
    EXPECT_EQ(UnpackZstd(PackZstd(content), content.size()), content);
}

// Far more than what room is taken for at first.
TEST(ZstdFrames, MillionsOfEqualBytesComeBack) {
    const ZstdFrame content(std::size_t{1} << 23, std::byte{7});
    EXPECT_EQ(UnpackZstd(PackZstd(content), content.size()), content);
}

TEST(ZstdFrames, AnotherSizeThanClaimed) {
    const ZstdFrame packed = PackZstd(ZstdFrame(10));
    EXPECT_EQ(FrameRefusal(packed, 9), "a stream has another size than it claims");
    EXPECT_EQ(FrameRefusal(packed, 11), "a stream has another size than it claims");
}

// Two frames, the first of which says the size that is expected.
TEST(ZstdFrames, MoreThanTheFirstFrameSays) {
    ZstdFrame packed = PackZstd(ZstdFrame(10));
    packed.insert(packed.end(), packed.begin(), packed.end());
    EXPECT_EQ(FrameRefusal(packed, 10), "its compressed data are damaged");
}

TEST(ZstdFrames, CutAtAnyPlace) {
    const ZstdFrame packed = PackZstd(ZstdFrame(100, std::byte{1}));
    for (std::size_t size = 0; size < packed.size(); ++size) {
        EXPECT_NE(FrameRefusal(std::span(packed).first(size), 100), "") << size;
    }
}

}  // namespace
}  // namespace vistrel
