// SPDX-License-Identifier: GPL-3.0-or-later
// The settings in a home of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/own_home.h"
#include "tests/ui/unusual_settings.h"
#include "ui/settings.h"

namespace vistrel::test {

class SettingsTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::filesystem::path Folder() const { return home.Home() / ".config/Vistrel"; }
    [[nodiscard]] std::filesystem::path File() const { return Folder() / "settings.json"; }

    void Write(const std::string& text) const {
        std::filesystem::create_directories(Folder());
        std::ofstream(File(), std::ios::binary) << text;
    }
    // The settings of a file with this text, over a record with none of the defaults.
    [[nodiscard]] AppSettings Loaded(const std::string& text) const {
        Write(text);
        AppSettings settings = UnusualSettings();
        settings.Load();
        return settings;
    }
    [[nodiscard]] QJsonObject Written() const {
        return QJsonDocument::fromJson(QByteArray::fromStdString(ReadFile(File()))).object();
    }

    OwnHome home;
};

inline void ExpectSame(const AppSettings& actual, const AppSettings& expected) {
    EXPECT_EQ(actual.modelPath, expected.modelPath);
    EXPECT_EQ(actual.outputDir, expected.outputDir);
    EXPECT_EQ(actual.outputFilename, expected.outputFilename);
    EXPECT_EQ(actual.stereoMode, expected.stereoMode);
    EXPECT_EQ(actual.isSwapped, expected.isSwapped);
    EXPECT_EQ(actual.focus, expected.focus);
    EXPECT_EQ(actual.depth, expected.depth);
    EXPECT_EQ(actual.isSharpMode, expected.isSharpMode);
    EXPECT_EQ(actual.executionProvider, expected.executionProvider);
}

}  // namespace vistrel::test
