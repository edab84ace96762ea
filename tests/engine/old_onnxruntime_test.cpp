// SPDX-License-Identifier: GPL-3.0-or-later
// A library beside the program that is older than the headers it was compiled with.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "engine/execution_provider.h"
#include "tests/support/capture.h"
#include "tests/support/run_model.h"

namespace {

// The entry of ONNX Runtime as its C interface lays it out.
struct ApiBase {
    const void* (*getApi)(std::uint32_t version);
    const char* (*getVersionString)();
};

const void* NoApi(std::uint32_t /*version*/) {
    return nullptr;
}
const char* OldVersion() {
    return "1.3.0";
}

}  // namespace

// The program's own symbol goes before the one of the library.
extern "C" const ApiBase* OrtGetApiBase() {
    static constexpr ApiBase kBase = {NoApi, OldVersion};
    return &kBase;
}

namespace vistrel {
namespace {

const std::string kRefusal = "ONNX Runtime 1.3.0 is too old: version 1.";

TEST(OldOnnxRuntime, IsRefusedWithItsVersionWhenProvidersAreListed) {
    const std::string failure =
        test::FailureOf([] { static_cast<void>(AvailableExecutionProviders()); });
    EXPECT_EQ(failure.rfind(kRefusal, 0), 0U) << failure;
}

TEST(OldOnnxRuntime, IsRefusedWithItsVersionInEveryRun) {
    for (int run = 0; run < 2; ++run) {
        const std::string failure =
            test::FailureOf([] { static_cast<void>(test::RunModel("echo")); });
        EXPECT_EQ(failure.rfind(kRefusal, 0), 0U) << failure;
    }
}

}  // namespace
}  // namespace vistrel
