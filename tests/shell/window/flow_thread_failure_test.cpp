// SPDX-License-Identifier: GPL-3.0-or-later
// A machine that has no thread left: pthread_create is replaced for this program alone.
#include <gtest/gtest.h>
#include <pthread.h>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "shell/window/download_flow.h"
#include "shell/window/generate_flow.h"
#include "shell/window/preview.h"
#include "tests/shell/window/flow_fixture.h"
#include "ui/wide_text.h"

extern "C" int pthread_create(pthread_t* /*thread*/, const pthread_attr_t* /*attributes*/,
                              void* (* /*routine*/)(void*), void* /*argument*/) {
    return EAGAIN;
}

namespace vistrel {
namespace {

using WithoutThreads = test::FlowTest;

TEST_F(WithoutThreads, ConversionFailsAndTheNextStartIsFree) {
    const auto engine = std::make_shared<ConversionEngine>();
    GenerateFlow flow(engine, settings, sidebar, user, window.mailbox);
    flow.inputImagePath = L"photo.png";
    settings.modelPath = L"model.onnx";
    user.scene = FromPath(home.Home() / "scene.ply");
    flow.RunGenerate();
    EXPECT_EQ(TextOf(ControlId::GenerateStatus), L"Error: Resource temporarily unavailable");
    EXPECT_TRUE(Find(ControlId::Generate)->isEnabled());
    EXPECT_FALSE(engine->busy);
    EXPECT_FALSE(std::filesystem::exists(home.Home() / "scene.ply"));
}

TEST_F(WithoutThreads, DownloadFailsAndTheNextStartIsFree) {
    const auto downloader = std::make_shared<ModelDownloader>();
    DownloadFlow flow(downloader, settings, sidebar, user, window.mailbox);
    flow.StartModelDownload();
    EXPECT_EQ(TextOf(ControlId::DownloadStatus), L"Failed: Resource temporarily unavailable");
    EXPECT_FALSE(Find(ControlId::DownloadStatus)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_FALSE(downloader->busy);
    EXPECT_FALSE(std::filesystem::exists(ToPath(UserDataFolder())));
}

TEST_F(WithoutThreads, PreviewStaysEmptyAndReadsNothing) {
    Preview preview(nullptr);
    preview.Show(L"photo.png");
    EXPECT_FALSE(preview.IsReading());
}

}  // namespace
}  // namespace vistrel
