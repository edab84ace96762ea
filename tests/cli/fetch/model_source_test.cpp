// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/model_source.h"

#include <gtest/gtest.h>

#include "tests/support/own_home.h"

namespace vistrel {
namespace {

class ModelSourceTest : public testing::Test {
  protected:
    ModelSourceTest() {
        for (const char* name : {"HF_ENDPOINT", "HF_TOKEN", "SSL_CERT_FILE"})
            home_.variables.Unset(name);
    }

    test::OwnHome home_;
};

TEST_F(ModelSourceTest, IsTheHubOfTheWindow) {
    const FileSource source = ModelSource({});
    EXPECT_EQ(source.url, kModelUrl);
    EXPECT_EQ(source.token, "");
    EXPECT_EQ(source.http.authorities, "");
}

TEST_F(ModelSourceTest, IsOnAnotherHubWhereTheUserNamesOne) {
    home_.variables.Set("HF_ENDPOINT", "https://mirror.test:8443/hub/");
    home_.variables.Set("HF_TOKEN", " hf_a\n");
    const FileSource source = ModelSource({});
    EXPECT_EQ(source.url,
              "https://mirror.test:8443/hub/pearsonkyle/Sharp-onnx/resolve/main/sharp_fp16.onnx");
    EXPECT_EQ(source.tokenOrigin, "https://mirror.test:8443");
    EXPECT_EQ(source.token, "hf_a");
}

TEST_F(ModelSourceTest, OfAnotherAddressTellsTheTokenToTheHubAlone) {
    home_.variables.Set("HF_TOKEN", "hf_a");
    const FileSource source = ModelSource({.url = "https://other.test/net.onnx", .fromHub = false});
    EXPECT_EQ(source.url, "https://other.test/net.onnx");
    EXPECT_EQ(source.tokenOrigin, "https://huggingface.co");
}

TEST_F(ModelSourceTest, NamesTheFileAsTheAddressDoes) {
    EXPECT_EQ(FileNameIn(kModelUrl), "sharp_fp16.onnx");
    EXPECT_EQ(FileNameIn("https://host/a/net.onnx?download=true#x/y"), "net.onnx");
    for (const char* url : {"https://host", "https://host/", "https://host/a/", "https://host/..",
                            "https://host?a/b"}) {
        EXPECT_EQ(FileNameIn(url), "sharp_fp16.onnx") << url;
    }
}

}  // namespace
}  // namespace vistrel
