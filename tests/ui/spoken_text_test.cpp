#include "ui/spoken_text.h"

#include <gtest/gtest.h>

namespace vistrel {
namespace {

TEST(SpokenText, SymbolsAndDashesAroundTheWordsAreLeftOut) {
    EXPECT_EQ(SpokenText(QString::fromUtf8("— ONNX Model —")), "ONNX Model");
    EXPECT_EQ(SpokenText(QString::fromUtf8("▶  Generate 3DGS")), "Generate 3DGS");
    EXPECT_EQ(SpokenText(QString::fromUtf8("⇆ Swap L/R")), "Swap L/R");
}

TEST(SpokenText, MnemonicsAreLeftOut) {
    EXPECT_EQ(SpokenText("Save &Image"), "Save Image");
    EXPECT_EQ(SpokenText(QString::fromUtf8("ヘルプ(&H)")), QString::fromUtf8("ヘルプ"));
}

TEST(SpokenText, WhatStandsAmongTheWordsStays) {
    EXPECT_EQ(SpokenText("Side-by-Side (SBS)"), "Side-by-Side (SBS)");
    EXPECT_EQ(SpokenText(QString::fromUtf8("Select File…")), QString::fromUtf8("Select File…"));
}

}  // namespace
}  // namespace vistrel
