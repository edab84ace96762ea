// SPDX-License-Identifier: GPL-3.0-or-later
// A browser and a folder of pages for each case.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"
#include "tests/viewer/loader/browser.h"

namespace vistrel::test {

class LoaderTest : public testing::Test {
  protected:
    // Writes a page into the folder.
    std::filesystem::path Page(std::string_view name, std::string_view body) {
        return folder_.Write(
            name, "<!doctype html><meta charset=utf-8><style>body{margin:0}</style><body>" +
                      std::string(body));
    }

    TemporaryFolder folder_;
    Browser browser_{folder_ / "profile"};
};

}  // namespace vistrel::test
