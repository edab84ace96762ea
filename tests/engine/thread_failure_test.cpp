// SPDX-License-Identifier: GPL-3.0-or-later
// A machine that has no thread left: pthread_create is replaced for this program alone.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

#include "base/text_encoding.h"
#include "engine/conversion_engine.h"
#include "tests/support/temporary_folder.h"

extern "C" int pthread_create(pthread_t* /*thread*/, const pthread_attr_t* /*attributes*/,
                              void* (* /*routine*/)(void*), void* /*argument*/) {
    return EAGAIN;
}

namespace vistrel {
namespace {

TEST(StartAsyncWithoutThreads, ThrowsASystemErrorAndIsFreeForTheNextStart) {
    const test::TemporaryFolder folder;
    const auto engine = std::make_shared<ConversionEngine>();
    bool called = false;
    try {
        ConversionEngine::StartAsync(
            engine, {L"model", L"photo", FromPath(folder / "sub/out.ply")},
            {.onFinished = [&called](bool, const std::wstring&) { called = true; }});
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
    }
    EXPECT_FALSE(engine->busy);
    EXPECT_FALSE(called);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "sub"));
}

}  // namespace
}  // namespace vistrel
