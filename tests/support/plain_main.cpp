// SPDX-License-Identifier: GPL-3.0-or-later
// Runs tests that need nothing but themselves.
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
