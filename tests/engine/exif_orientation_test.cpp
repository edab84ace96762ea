// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/exif_orientation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/picture_formats.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using namespace std::string_literals;

std::string PlainJpeg() {
    return test::EncodeJpeg(test::FilledPicture(8, 8, 1, 2, 3), 50);
}

std::string WithEntry(const test::ExifEntry& entry, const std::string& behind = {}) {
    return test::JpegWithExif(PlainJpeg(), test::TiffBlock(entry, behind));
}

class ExifOrientation : public testing::Test {
  protected:
    [[nodiscard]] int Read(const std::string& bytes, const std::string& name = "p.jpg") const {
        return ReadExifOrientation(FromPath(folder_.Write(name, bytes)));
    }
    [[nodiscard]] const test::TemporaryFolder& Folder() const { return folder_; }

  private:
    test::TemporaryFolder folder_;
};

TEST_F(ExifOrientation, EveryValueIsHandedOnUnchecked) {
    for (const int value : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 300, 32767}) {
        const auto raw = static_cast<std::uint16_t>(value);
        EXPECT_EQ(Read(WithEntry(test::OrientationEntry(raw, false))), value);
        EXPECT_EQ(Read(WithEntry(test::OrientationEntry(raw, true))), value);
    }
}

TEST_F(ExifOrientation, ValuesAboveTheSignedRangeAreNegative) {
    EXPECT_EQ(Read(WithEntry(test::OrientationEntry(0xFFFF))), -1);
    EXPECT_EQ(Read(WithEntry(test::OrientationEntry(0x8000))), -32768);
}

TEST_F(ExifOrientation, FirstOfSeveralValuesCounts) {
    test::ExifEntry entry = test::OrientationEntry(6);
    entry.count = 2;
    entry.value = "\x06\0\x03\0"s;
    EXPECT_EQ(Read(WithEntry(entry)), 6);
    entry.count = 3;
    entry.value = "\x1A\0\0\0"s;
    EXPECT_EQ(Read(WithEntry(entry, "\x08\0\x03\0\x03\0"s)), 8);
}

TEST_F(ExifOrientation, OtherTypesCountAsUpright) {
    for (const std::uint16_t type :
         {test::kExifByte, test::kExifLong, test::kExifSignedShort, std::uint16_t{2},
          std::uint16_t{7}, std::uint16_t{0}, std::uint16_t{99}}) {
        test::ExifEntry entry = test::OrientationEntry(6);
        entry.type = type;
        EXPECT_EQ(Read(WithEntry(entry)), 1) << type;
    }
}

TEST_F(ExifOrientation, EntryWithoutValuesCountsAsUpright) {
    test::ExifEntry entry = test::OrientationEntry(6);
    entry.count = 0;
    EXPECT_EQ(Read(WithEntry(entry)), 1);
}

TEST_F(ExifOrientation, EntryWhoseValuesLieOutsideTheFileCountsAsUpright) {
    test::ExifEntry entry = test::OrientationEntry(6);
    entry.count = 1000;
    entry.value = "\xFF\xFF\xFF\x7F"s;
    EXPECT_EQ(Read(WithEntry(entry)), 1);
    entry.count = 0xFFFFFFFF;
    EXPECT_EQ(Read(WithEntry(entry)), 1);
}

TEST_F(ExifOrientation, OtherTagsCountAsUpright) {
    test::ExifEntry entry = test::OrientationEntry(6);
    entry.tag = 0x0128;
    EXPECT_EQ(Read(WithEntry(entry)), 1);
}

TEST_F(ExifOrientation, PicturesWithoutExifAreUpright) {
    EXPECT_EQ(Read(PlainJpeg()), 1);
    const test::PlainPicture picture = test::FilledPicture(8, 8, 1, 2, 3);
    EXPECT_EQ(Read(test::EncodePng(picture)), 1);
    EXPECT_EQ(Read(test::EncodeBmp(picture)), 1);
    EXPECT_EQ(Read(test::EncodeTga(picture)), 1);
    EXPECT_EQ(Read(test::StoredPpm(picture)), 1);
}

TEST_F(ExifOrientation, PngCanCarryIt) {
    const std::string png = test::EncodePng(test::FilledPicture(8, 8, 1, 2, 3));
    const std::string tiff = test::TiffBlock(test::OrientationEntry(6, true));
    EXPECT_EQ(Read(test::WithPngChunk(png, "eXIf", tiff)), 6);
}

TEST_F(ExifOrientation, UnreadableFilesAreUpright) {
    EXPECT_EQ(Read(""), 1);
    EXPECT_EQ(Read("no picture"), 1);
    EXPECT_EQ(Read("\xFF\xD8"), 1);
    EXPECT_EQ(ReadExifOrientation(FromPath(Folder().Path())), 1);
    EXPECT_EQ(ReadExifOrientation(FromPath(Folder() / "missing.jpg")), 1);
    EXPECT_EQ(ReadExifOrientation(L""), 1);
}

TEST_F(ExifOrientation, EveryTruncationIsReadOrUpright) {
    const std::string whole = WithEntry(test::OrientationEntry(6));
    ASSERT_EQ(Read(whole), 6);
    for (std::size_t size = 0; size < 60; ++size) {
        const int orientation = Read(whole.substr(0, size));
        EXPECT_TRUE(orientation == 1 || orientation == 6) << size;
    }
}

TEST_F(ExifOrientation, DamagedBlocksAreSurvivedInSilence) {
    std::mt19937 random(7);
    const std::string whole = WithEntry(test::OrientationEntry(6));
    testing::internal::CaptureStderr();
    for (int i = 0; i < 200; ++i) {
        std::string damaged = whole;
        for (int k = 0; k < 3; ++k) {
            damaged[2 + (random() % 60)] = static_cast<char>(random() % 256);
        }
        const int orientation = Read(damaged);
        EXPECT_GE(orientation, -32768);
        EXPECT_LE(orientation, 32767);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ExifOrientation, AnyFileNameIsAFileName) {
    const std::string bytes = WithEntry(test::OrientationEntry(8));
    for (const char* const name :
         {"\xE5\x86\x99\xE7\x9C\x9F.jpg", "two words.jpg", "#1.jpg", "\xFF\xFE.jpg", "a:b.jpg"}) {
        EXPECT_EQ(Read(bytes, name), 8) << name;
    }
}

// Relative, so that the names begin like addresses; the folder is entered for the whole program.
TEST_F(ExifOrientation, NamesThatLookLikeAddressesAreFiles) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Folder().Path());
    const std::string bytes = WithEntry(test::OrientationEntry(8));
    for (const char* const scheme : {"http:", "file:", "ftp:", "data:"}) {
        std::filesystem::create_directory(scheme);
        const std::string name = scheme + "//p.jpg"s;
        EXPECT_EQ(Read(bytes, name), 8);
        EXPECT_EQ(ReadExifOrientation(FromUtf8(name)), 8) << name;
    }
    EXPECT_EQ(Read(bytes, "-"), 8);
    EXPECT_EQ(ReadExifOrientation(L"-"), 8);
    std::filesystem::current_path(before);
}

std::string WithXmp(const std::string& jpeg, const std::string& nameSpace) {
    const std::string xmp =
        "http://ns.adobe.com/xap/1.0/\0"s
        "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'>"
        "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
        "rdf:about='' xmlns:own='http://" +
        nameSpace + "/' own:a='1'/></rdf:RDF></x:xmpmeta><?xpacket end='w'?>";
    const std::size_t length = xmp.size() + 2;
    return jpeg.substr(0, 2) + "\xFF\xE1"s + static_cast<char>(length / 256) +
           static_cast<char>(length % 256) + xmp + jpeg.substr(2);
}

// Every file brings a name space of its own, which the library enters into a table of its own.
TEST_F(ExifOrientation, SeveralThreadsMayReadAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kFiles = 25;
    std::vector<std::wstring> paths;
    for (int i = 0; i < kThreads * kFiles; ++i) {
        const std::string jpeg = WithXmp(WithEntry(test::OrientationEntry(6)), std::to_string(i));
        paths.push_back(FromPath(Folder().Write(std::to_string(i), jpeg)));
    }
    std::atomic<int> correct = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = static_cast<std::size_t>(thread); i < paths.size();
                 i += kThreads) {
                if (ReadExifOrientation(paths[i]) == 6) ++correct;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(correct, kThreads * kFiles);
}

}  // namespace
}  // namespace vistrel
