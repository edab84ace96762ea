// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_modules.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kHeic =
    "\0\0\0\x18"
    "ftypheic"sv;
constexpr std::string_view kNoWebp = "RIFF\x04\0\0\0WEBP"sv;
constexpr std::string_view kNoTiff = "II*\0\x08\0\0\0\0\0\0\0\0\0"sv;  // without any entry
// As a Canon raw begins; without more of it nobody can read it.
constexpr std::string_view kRaw = "II*\0\x10\0\0\0CR\2\0\0\0\0\0\0\0\0\0\0\0"sv;

std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text));
}

const std::filesystem::path& Built() {
    static const std::filesystem::path folder = VISTREL_PHOTO_MODULES;
    return folder;
}

class PhotoModulesTest : public testing::Test {
  protected:
    void Copy(const std::string& name) const {
        std::filesystem::copy_file(Built() / name, folder / name);
    }

    // The module, which asks for another library.
    void CopyWithout(const std::string& name, std::string_view library,
                     std::string_view other) const {
        std::string bytes = test::ReadFile(Built() / name);
        const std::size_t place = bytes.find(library);
        ASSERT_NE(place, std::string::npos);
        folder.Write(name, bytes.replace(place, library.size(), other));
    }

    // The sentence about what is missing; empty where nothing is.
    std::string Missing(std::string_view file) const {
        PhotoModules modules(folder.Path());
        try {
            static_cast<void>(modules.Load(Bytes(file)));
        } catch (const PhotoModuleError& error) {
            return error.what();
        } catch (const PhotoError&) {
        }
        return {};
    }

    const test::TemporaryFolder folder;
};

TEST_F(PhotoModulesTest, FileOfNoKindNeedsNoModule) {
    PhotoModules modules(folder.Path());
    EXPECT_FALSE(modules.Load(Bytes("no picture")));
}

TEST_F(PhotoModulesTest, MissingModuleIsNamed) {
    EXPECT_EQ(Missing(kHeic), "It is a HEIC or AVIF picture, and " + (folder / "heif.so").native() +
                                  " is missing.");
}

TEST_F(PhotoModulesTest, MissingLibraryIsNamedWithItsPackage) {
    CopyWithout("heif.so", "libheif.so.1", "libhazy.so.1");
    EXPECT_EQ(Missing(kHeic),
              "It is a HEIC or AVIF picture, and libhazy.so.1 is missing: install the package "
              "libhazy1.");
}

TEST_F(PhotoModulesTest, MissingLibraryCostsItsKindOnly) {
    CopyWithout("heif.so", "libheif.so.1", "libhazy.so.1");
    Copy("webp.so");
    EXPECT_NE(Missing(kHeic), "");
    EXPECT_EQ(Missing(kNoWebp), "");
}

TEST_F(PhotoModulesTest, WhatIsNoModuleIsToldByTheSystem) {
    folder.Write("heif.so", "text");
    EXPECT_EQ(Missing(kHeic),
              "It is a HEIC or AVIF picture, and what reads those cannot be opened: " +
                  (folder / "heif.so").native() + ": file too short.");
}

TEST_F(PhotoModulesTest, CameraRawNeedsNoTiffDecoder) {
    Copy("tiff.so");
    EXPECT_EQ(Missing(kRaw),
              "It is a camera raw picture, and " + (folder / "raw.so").native() + " is missing.");
}

TEST_F(PhotoModulesTest, TiffIsNotLeftToTheRawDecoderAlone) {
    Copy("raw.so");
    EXPECT_EQ(Missing(kNoTiff),
              "It is a TIFF picture, and " + (folder / "tiff.so").native() + " is missing.");
}

TEST_F(PhotoModulesTest, EveryModuleThatIsBuiltOpens) {
    PhotoModules modules(Built());
    for (const std::string_view head : {kHeic, kNoWebp, kNoTiff, "\xFF\x0A"sv, kRaw}) {
        try {
            static_cast<void>(modules.Load(Bytes(head)));
        } catch (const PhotoModuleError& error) {
            ADD_FAILURE() << error.what();
        } catch (const PhotoError&) {  // a damaged picture of its kind
        }
    }
}

TEST_F(PhotoModulesTest, SeveralThreadsOpenOneModule) {
    PhotoModules modules(Built());
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            try {
                EXPECT_FALSE(modules.Load(Bytes(kNoWebp)));
            } catch (const PhotoModuleError& error) {
                ADD_FAILURE() << error.what();
            } catch (const PhotoError&) {  // a damaged picture of its kind
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace vistrel
