// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/last_failure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/own_home.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

TEST(WithoutNames, PartWithASlashIsAFile) {
    EXPECT_EQ(WithoutNames("/home/ann/my photo: It is damaged."), "<file>: It is damaged.");
}

TEST(WithoutNames, PartWithAnEndingIsAFileWithItsBlanks) {
    EXPECT_EQ(WithoutNames("Ann in Rome.jpg: cut short"), "<file>: cut short");
}

TEST(WithoutNames, PartWithQuotesOrOtherLettersIsAFile) {
    EXPECT_EQ(WithoutNames("cannot read 'Ann': \"Ben\": \xC3\xA9t\xC3\xA9: no"),
              "<file>: <file>: <file>: no");
}

TEST(WithoutNames, NameInTheMiddleTakesItsSentenceAlong) {
    EXPECT_EQ(WithoutNames("No room for a b.ply there. Try again."), "<file>. Try again.");
}

TEST(WithoutNames, LibrariesAndVersionsStay) {
    EXPECT_EQ(WithoutNames("libheif.so.1: cannot be opened; 1.29.0 is too new"),
              "libheif.so.1: cannot be opened; 1.29.0 is too new");
}

TEST(WithoutNames, LinesBecomeOne) {
    EXPECT_EQ(WithoutNames("one\ntwo"), "one two");
}

class LastFailureTest : public testing::Test {
  protected:
    LastFailureTest() { variables_.Set("XDG_STATE_HOME", folder_.Path()); }

    test::Variables variables_;
    test::TemporaryFolder folder_;
};

TEST_F(LastFailureTest, NoneIsKeptAtFirst) {
    EXPECT_EQ(LastFailure(), "");
}

TEST_F(LastFailureTest, TheLatestOneStays) {
    KeepFailure("the first");
    KeepFailure("a.ply: the second");
    EXPECT_TRUE(LastFailure().ends_with(": <file>: the second")) << LastFailure();
}

TEST_F(LastFailureTest, ALongOneIsCut) {
    KeepFailure(std::string(100'000, 'a'));
    EXPECT_LT(std::filesystem::file_size(folder_.Path() / "Vistrel/last_failure"), 1100U);
}

TEST_F(LastFailureTest, WhereNothingCanBeWrittenNothingIsKept) {
    variables_.Set("XDG_STATE_HOME", "/proc/nothing");
    KeepFailure("a reason");
    EXPECT_EQ(LastFailure(), "");
}

}  // namespace
}  // namespace vistrel
