// SPDX-License-Identifier: GPL-3.0-or-later
// Which library of ONNX Runtime is opened, and which is refused.
#include "engine/onnxruntime_library.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "engine/execution_provider.h"
#include "tests/support/another_process.h"
#include "tests/support/capture.h"
#include "tests/support/own_home.h"
#include "tests/support/run_model.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

class OnnxRuntimeLibraryTest : public testing::Test {
  protected:
    OnnxRuntimeLibraryTest() { fs::create_directories(file_.parent_path()); }

    // The user's own library is the stand-in of that kind.
    void Use(const std::string& kind) const {
        fs::remove(file_);
        fs::create_symlink(fs::path(VISTREL_RUNTIMES) / kind / kOnnxRuntimeFile, file_);
    }
    static std::string FailureToList() {
        return test::FailureOf([] { static_cast<void>(AvailableExecutionProviders()); });
    }
    static void ExpectBegin(const std::string& text, const std::string& beginning) {
        EXPECT_EQ(text.substr(0, beginning.size()), beginning);
    }
    static void ExpectPart(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << text;
    }

    test::OwnHome home_;
    fs::path file_ = ToPath(RuntimeFolder()) / kOnnxRuntimeFile;
};

using OldOnnxRuntime = OnnxRuntimeLibraryTest;
using OwnOnnxRuntime = OnnxRuntimeLibraryTest;
using RuinousOnnxRuntime = OnnxRuntimeLibraryTest;

TEST_F(OldOnnxRuntime, IsRefusedWithItsVersionWhenProvidersAreListed) {
    Use("old");
    const std::string failure = FailureToList();
    ExpectBegin(failure, "ONNX Runtime 1.3.0 is too old: version 1.");
    ExpectPart(failure, file_.native());
}

TEST_F(OldOnnxRuntime, IsRefusedWithItsVersionInEveryRun) {
    Use("old");
    for (int run = 0; run < 2; ++run) {
        const std::string failure =
            test::FailureOf([] { static_cast<void>(test::RunModel("echo")); });
        ExpectBegin(failure, "ONNX Runtime 1.3.0 is too old: version 1.");
    }
}

TEST_F(RuinousOnnxRuntime, IsRefusedByName) {
    Use("ruinous");
    const std::string failure = FailureToList();
    ExpectBegin(failure, "ONNX Runtime 1.29.0 ");
    ExpectPart(failure, ": use 1.22 instead of " + file_.native());
}

TEST_F(OwnOnnxRuntime, ThatIsNoLibraryIsNamed) {
    std::ofstream(file_) << "text";
    const std::string failure = FailureToList();
    ExpectBegin(failure, "ONNX Runtime cannot be opened: " + file_.native());
    ExpectPart(failure, "vistrel-fetch gpu --check");
}

TEST_F(OwnOnnxRuntime, ThatLeadsNowhereIsNotPassedOver) {
    fs::create_symlink(home_.Home() / "gone", file_);
    ExpectBegin(FailureToList(), "ONNX Runtime cannot be opened: " + file_.native());
}

TEST_F(OwnOnnxRuntime, BehindAClosedDoorIsNobodys) {
    std::ofstream(file_) << "no library";
    fs::permissions(file_.parent_path(), fs::perms::none);
    EXPECT_TRUE(test::RunAsNobody([] { return FailureToList().empty(); }));
    fs::permissions(file_.parent_path(), fs::perms::owner_all);
}

TEST_F(OwnOnnxRuntime, WithoutTheEntryIsNamed) {
    Use("other");
    ExpectPart(FailureToList(), "OrtGetApiBase");
}

// The library stays until the process ends.
TEST_F(OwnOnnxRuntime, IsUsedOnceItIsMended) {
    const bool used = test::Join(test::Fork(
        [this] {
            Use("ruinous");
            if (FailureToList().empty()) return false;
            Use("cuda");
            const OnnxRuntimeLibrary& opened = OpenedOnnxRuntime();
            return opened.version == "1.22.0" && opened.file == file_.native() &&
                   AvailableExecutionProviders().front() == kCudaProviderName;
        },
        false));
    EXPECT_TRUE(used);
}

TEST(UnneededOnnxRuntime, IsNotOpened) {
    EXPECT_EQ(dlopen(kOnnxRuntimeFile, RTLD_LAZY | RTLD_NOLOAD), nullptr);
}

TEST(SilentOnnxRuntime, IsWhatTheEnvironmentSaysUnlessItSaysSomething) {
    constexpr const char* kVariable = "ORT_DISABLE_TELEMETRY";
    test::Variables variables;
    variables.Set(kVariable, "0");
    KeepOnnxRuntimeSilent();
    EXPECT_STREQ(std::getenv(kVariable), "0");
    variables.Unset(kVariable);
    KeepOnnxRuntimeSilent();
    EXPECT_STREQ(std::getenv(kVariable), "1");
}

}  // namespace
}  // namespace vistrel
