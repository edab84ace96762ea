// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_report.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

const std::string kHeadings = "input\toutput\tseconds\tGaussians\terror\n";

TEST(ReportText, HasAColumnForEachValue) {
    EXPECT_EQ(ReportText({.input = "a.jpg",
                          .output = "a.ply",
                          .taken = std::chrono::milliseconds(61'234),
                          .gaussians = 1'179'648}),
              "a.jpg\ta.ply\t61.234\t1179648\t\n");
    EXPECT_EQ(ReportText({.input = "folder", .error = "No."}), "folder\t\t\t\tNo.\n");
}

TEST(ReportText, NamesOfAnyBytesStayInTheirColumn) {
    EXPECT_EQ(ReportText({.input = "a\tb\nc\rd\\t\xFF.jpg"}),
              "a\\tb\\nc\\rd\\\\t\xFF.jpg\t\t\t\t\n");
}

class BatchReportTest : public testing::Test {
  protected:
    [[nodiscard]] std::string AfterOneLine() const {
        BatchReport(folder_ / "report").Add({.input = "a"});
        return test::ReadFile(folder_ / "report");
    }

    test::TemporaryFolder folder_;
};

TEST_F(BatchReportTest, BeginsWithHeadingsAndGoesOnWithoutThem) {
    EXPECT_EQ(AfterOneLine(), kHeadings + "a\t\t\t\t\n");
    EXPECT_EQ(AfterOneLine(), kHeadings + "a\t\t\t\t\na\t\t\t\t\n");
}

TEST_F(BatchReportTest, LineThatWasCutOffHasALineOfItsOwn) {
    folder_.Write("report", kHeadings + "b\tb.p");
    EXPECT_EQ(AfterOneLine(), kHeadings + "b\tb.p\na\t\t\t\t\n");
}

TEST_F(BatchReportTest, HeadingsThatWereCutOffAreMadeWhole) {
    folder_.Write("report", kHeadings.substr(0, 9));
    EXPECT_EQ(AfterOneLine(), kHeadings + "a\t\t\t\t\n");
}

TEST_F(BatchReportTest, AnotherFileIsLeftAlone) {
    folder_.Write("report", "my notes");
    EXPECT_THROW(BatchReport(folder_ / "report"), std::runtime_error);
    EXPECT_EQ(test::ReadFile(folder_ / "report"), "my notes");
}

TEST_F(BatchReportTest, FullDiskIsToldWithTheFilesName) {
    try {
        const BatchReport report("/dev/full");
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Cannot write /dev/full: No space left on device");
    }
}

}  // namespace
}  // namespace vistrel
