// SPDX-License-Identifier: GPL-3.0-or-later
// What loading a picture does when memory runs out, and how much it takes. The program is linked so
// that calls of malloc, calloc and free from the engine's objects come here first.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "engine/image_loading.h"
#include "tests/support/picture_formats.h"
#include "tests/support/plain_image_stage.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace {

struct Allocations {
    int count = 0;
    int failing = -1;        // the number of the call that gets nothing
    std::set<void*> blocks;  // those that were counted and are still there
    std::size_t live = 0;
    std::size_t peak = 0;
};
Allocations allocations;
std::mutex mutex;  // the stage has threads

bool Fails() {
    const std::lock_guard lock(mutex);
    return allocations.count++ == allocations.failing;
}

void* Counted(void* memory) {
    const std::lock_guard lock(mutex);
    allocations.blocks.insert(memory);
    allocations.live += malloc_usable_size(memory);
    allocations.peak = std::max(allocations.peak, allocations.live);
    return memory;
}

}  // namespace

// The linker's names for the functions that are called and those that they stand for.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void __wrap_free(void* memory);

void* __wrap_malloc(std::size_t size) {
    return Fails() ? nullptr : Counted(__real_malloc(size));
}

// Compilers make one of a malloc and a memset.
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Fails() ? nullptr : Counted(__real_calloc(count, size));
}

void __wrap_free(void* memory) {
    {
        const std::lock_guard lock(mutex);
        // The tensor comes from elsewhere, and goes back with the next picture.
        if (allocations.blocks.erase(memory) > 0) allocations.live -= malloc_usable_size(memory);
    }
    __real_free(memory);
}
}

namespace vistrel {
namespace {

// Under the address sanitizer the resampling library takes its memory in many pieces instead of
// one, and then trips over itself when any but the first is missing.
constexpr bool kResamplerInPieces =
    std::string_view(VISTREL_SANITIZE).find("address") != std::string_view::npos;

constexpr int kWidth = 300;
constexpr int kHeight = 200;

class ImageMemory : public testing::Test {
  protected:
    void SetUp() override { allocations = {}; }

    // Loads a picture with the allocation of the given number failing; the failure's text or "".
    std::string LoadWithFailing(int number, int orientation) {
        allocations = {};
        allocations.failing = number;
        try {
            image_ = LoadAndPreprocess(FromPath(path_), orientation);
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    [[nodiscard]] const PreprocessedImage& Image() const { return image_; }

  private:
    test::TemporaryFolder folder_;
    std::filesystem::path path_ =
        folder_.Write("p.ppm", test::StoredPpm(test::NoisePicture(kWidth, kHeight)));
    PreprocessedImage image_;
};

TEST_F(ImageMemory, EveryFailedAllocationEndsInItsOwnWay) {
    ASSERT_EQ(LoadWithFailing(-1, 6), "");
    const int calls = allocations.count;
    const PreprocessedImage upright = Image();
    ASSERT_EQ(upright.width, kHeight);

    const AlignedVector<float> unturnedTensor = test::PlainLoadAndPreprocess(Path(), 1).tensor;

    int decoding = 0;
    int unturned = 0;
    int resizing = 0;
    for (int number = 0; number < calls; ++number) {
        const std::string failure = LoadWithFailing(number, 6);
        EXPECT_EQ(allocations.live, 0U) << number;
        if (failure == "stb_image failed to load (outofmem)") {
            ++decoding;
        } else if (failure == "stb_image_resize failed") {
            ++resizing;
            if (kResamplerInPieces) break;
        } else if (Image().width == kHeight) {
            // The decoder could not ask whether it is a JPEG, which it is not.
            EXPECT_EQ(failure, "") << number;
            EXPECT_TRUE(Image().tensor == upright.tensor) << number;
        } else {
            EXPECT_EQ(failure, "") << number;
            EXPECT_TRUE(Image().tensor == unturnedTensor) << number;
            ++unturned;
        }
    }
    EXPECT_GE(decoding, 1);
    EXPECT_EQ(unturned, 1);
    EXPECT_GE(resizing, 1);
}

TEST_F(ImageMemory, EverythingIsGivenBack) {
    ASSERT_EQ(LoadWithFailing(-1, 6), "");
    EXPECT_EQ(allocations.live, 0U);
}

TEST(ImageMemoryOfALargePicture, TurningTakesNoSecondPicture) {
    constexpr std::size_t kSide = 4000;
    const test::TemporaryFolder folder;
    std::string file = "P5\n4000 4000\n255\n";
    file.append(kSide * kSide, '\x40');
    const std::wstring path = FromPath(folder.Write("p.pgm", file));
    const auto peak = [&](int orientation) {
        allocations = {};
        EXPECT_EQ(LoadAndPreprocess(path, orientation).width, int{kSide});
        return allocations.peak;
    };
    constexpr std::size_t kMuch = 4U << 20U;
    EXPECT_LE(peak(6), peak(1) + kMuch);
}

}  // namespace
}  // namespace vistrel
