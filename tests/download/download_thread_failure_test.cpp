// SPDX-License-Identifier: GPL-3.0-or-later
// A machine that has no thread left: pthread_create is replaced for this program alone.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/text_encoding.h"
#include "download/model_downloader.h"
#include "tests/support/temporary_folder.h"

extern "C" int pthread_create(pthread_t* /*thread*/, const pthread_attr_t* /*attributes*/,
                              void* (* /*routine*/)(void*), void* /*argument*/) {
    return EAGAIN;
}

namespace vistrel {
namespace {

TEST(StartDownloadWithoutThreads, ThrowsASystemErrorAndIsFreeForTheNextStart) {
    const test::TemporaryFolder folder;
    const auto downloader = std::make_shared<ModelDownloader>();
    bool called = false;
    try {
        ModelDownloader::StartDownload(downloader, FromPath(folder / "sub/model.onnx"), nullptr,
                                       [&called](bool, const std::wstring&) { called = true; });
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
    }
    EXPECT_FALSE(downloader->busy);
    EXPECT_FALSE(called);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

}  // namespace
}  // namespace vistrel
