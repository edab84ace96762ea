// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_formats.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace vistrel {
namespace {

using namespace std::string_view_literals;

// The modules that may read a file that begins with `head`, in their order.
std::string Modules(std::string_view head) {
    std::string modules;
    for (const PhotoFormat& format : PhotoFormats()) {
        if (format.mayBe(std::as_bytes(std::span(head))))
            modules += std::string(format.module) + " ";
    }
    return modules;
}

TEST(PhotoFormats, AreToldByTheirFirstBytes) {
    EXPECT_EQ(Modules("\0\0\0\x18"
                      "ftypheic"sv),
              "heif ");
    EXPECT_EQ(Modules("\0\0\0\x1c"
                      "ftypavif"sv),
              "heif ");
    EXPECT_EQ(Modules("RIFF\x10\0\0\0WEBPVP8L"sv), "webp ");
    EXPECT_EQ(Modules("\xFF\x0A"sv), "jxl ");
    EXPECT_EQ(Modules("\0\0\0\x0CJXL \r\n\x87\n"sv), "jxl ");
}

TEST(PhotoFormats, TiffsMayBeCameraRawToo) {
    for (const std::string_view head : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
        EXPECT_EQ(Modules(head), "tiff raw ");
    }
}

TEST(PhotoFormats, RawOnesThatAreNoTiffs) {
    for (const std::string_view head : {"FUJIFILMCCD-RAW 0201"sv, "IIRO\x08\0\0\0"sv,
                                        "IIRS\x08\0\0\0"sv, "MMOR\0\0\0\x08"sv, "IIU\0\x18\0\0\0"sv,
                                        "\0\0\0\x18"
                                        "ftypcrx "sv,
                                        "II\x1a\0\0\0HEAPCCDR"sv, "\0MRM"sv, "FOVb"sv}) {
        EXPECT_EQ(Modules(head), "raw ") << head;
    }
}

TEST(PhotoFormats, OtherFilesAreNone) {
    for (const std::string_view head :
         {""sv, "\0"sv, "\xFF\xD8\xFF\xE0"sv, "\x89PNG\r\n\x1a\n"sv, "RIFF\x10\0\0\0WAVEfmt "sv,
          "II"sv, "II*"sv, "\xFF"sv, "ftypheic"sv, "%PDF-1.7"sv,
          "\x7F"
          "ELF\2\1\1\0"sv}) {
        EXPECT_EQ(Modules(head), "") << head;
    }
}

TEST(PackageOfLibrary, FollowsDebiansNames) {
    EXPECT_EQ(PackageOfLibrary("libheif.so.1"), "libheif1");
    EXPECT_EQ(PackageOfLibrary("libwebp.so.7"), "libwebp7");
    EXPECT_EQ(PackageOfLibrary("libwebpdemux.so.2"), "libwebpdemux2");
    EXPECT_EQ(PackageOfLibrary("libtiff.so.6"), "libtiff6");
    EXPECT_EQ(PackageOfLibrary("libde265.so.0"), "libde265-0");
}

TEST(PackageOfLibrary, LibrariesThatShareAPackage) {
    EXPECT_EQ(PackageOfLibrary("libjxl.so.0.7"), "libjxl0.7");
    EXPECT_EQ(PackageOfLibrary("libjxl_threads.so.0.11"), "libjxl0.11");
    EXPECT_EQ(PackageOfLibrary("libraw_r.so.20"), "libraw20");
    EXPECT_EQ(PackageOfLibrary("libraw_r.so.23"), "libraw23t64");
}

TEST(PackageOfLibrary, OtherNamesHaveNone) {
    for (const char* name : {"", "libx.so", ".so.1", "libx.so.", "libx.so.x", "/photos/heif.so"}) {
        EXPECT_EQ(PackageOfLibrary(name), "") << name;
    }
}

}  // namespace
}  // namespace vistrel
