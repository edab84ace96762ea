// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/jpeg_profile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "tests/support/icc_profiles.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using namespace std::string_literals;
using test::ToBytes;

std::vector<std::byte> ReadProfile(const std::string& file) {
    return ReadJpegProfile(std::as_bytes(std::span(file)));
}

std::string Segment(char marker, const std::string& content) {
    const std::size_t length = content.size() + 2;
    return "\xFF"s + marker + static_cast<char>(length >> 8) + static_cast<char>(length & 0xFF) +
           content;
}

std::string Part(int number, int count, const std::string& content) {
    return Segment(
        '\xE2', "ICC_PROFILE\0"s + static_cast<char>(number) + static_cast<char>(count) + content);
}

// A JPEG with these segments behind its first marker.
std::string With(const std::string& segments) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(4, 3), 90);
    return jpeg.substr(0, 2) + segments + jpeg.substr(2);
}

TEST(JpegProfile, PlainPictureHasNone) {
    EXPECT_TRUE(ReadProfile(With("")).empty());
}

TEST(JpegProfile, OtherFilesHaveNone) {
    EXPECT_TRUE(ReadProfile("").empty());
    EXPECT_TRUE(ReadProfile(test::EncodePng(test::NoisePicture(4, 3))).empty());
}

TEST(JpegProfile, OnePartIsAll) {
    EXPECT_EQ(ReadProfile(With(Part(1, 1, "profile"))), ToBytes("profile"));
}

TEST(JpegProfile, PartsComeInAnyOrder) {
    const std::string parts = Part(3, 3, "le") + Part(1, 3, "pr") + Part(2, 3, "ofi");
    EXPECT_EQ(ReadProfile(With(parts)), ToBytes("profile"));
}

TEST(JpegProfile, OtherSegmentsBetweenThePartsArePassedOver) {
    const std::string segments = Segment('\xE1', "Exif\0\0..."s) + Part(1, 2, "pro") +
                                 Segment('\xE2', "MPF\0"s) + "\xFF"s + Part(2, 2, "file");
    EXPECT_EQ(ReadProfile(With(segments)), ToBytes("profile"));
}

TEST(JpegProfile, MissingPartMeansNone) {
    EXPECT_TRUE(ReadProfile(With(Part(1, 3, "pro") + Part(3, 3, "file"))).empty());
}

TEST(JpegProfile, PartsBehindThePixelsAreNotOfThisPicture) {
    EXPECT_TRUE(ReadProfile(With("") + Part(1, 1, "profile")).empty());
}

TEST(JpegProfile, FileThatEndsInAPartHasNone) {
    const std::string file = With(Part(1, 1, "profile"));
    for (std::size_t size = 0; size < file.find("profile") + 7; ++size) {
        EXPECT_TRUE(ReadProfile(file.substr(0, size)).empty()) << size;
    }
}

TEST(JpegProfile, PartWithoutNumbersIsPassedOver) {
    EXPECT_TRUE(ReadProfile(With(Segment('\xE2', "ICC_PROFILE\0\1"s))).empty());
}

}  // namespace
}  // namespace vistrel
