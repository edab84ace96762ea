// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/sha256.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

TEST(Sha256, IsThatOfTheStandardsExamples) {
    EXPECT_EQ(Sha256().Digest(),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    Sha256 sum;
    sum.Add("abc");
    EXPECT_EQ(sum.Digest(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, GoesOnAfterItWasAsked) {
    Sha256 sum;
    sum.Add("a");
    static_cast<void>(sum.Digest());
    sum.Add(std::as_bytes(std::span("bc", 2)));
    EXPECT_EQ(sum.Digest(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, OfAFileIsThatOfAllItsPieces) {
    const test::TemporaryFolder folder;
    const std::string bytes((std::size_t{3} << 20) + 7, 'x');
    Sha256 sum;
    sum.Add(bytes);
    EXPECT_EQ(Sha256OfFile(folder.Write("file", bytes)).Digest(), sum.Digest());
    EXPECT_EQ(Sha256OfFile(folder.Write("empty", "")).Digest(), Sha256().Digest());
    EXPECT_THROW((void)Sha256OfFile(folder / "missing"), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
