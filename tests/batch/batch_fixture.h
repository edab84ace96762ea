// SPDX-License-Identifier: GPL-3.0-or-later
// A batch over two folders of its own, with everything that it says.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "batch/batch_converter.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"

namespace vistrel::test {

class BatchFixture : public testing::Test {
  protected:
    BatchFixture() {
        std::filesystem::create_directory(output_);
        std::filesystem::create_directory(input_);
        converter_.onProgress = [this](const BatchProgressInfo& info) { reports_.push_back(info); };
        converter_.onFileFinished = [this](bool success, const std::wstring& text) {
            results_.emplace_back(success, text);
        };
    }

    // A picture that converts.
    std::filesystem::path AddPicture(std::string_view name) const {
        return AddFile(name, picture_);
    }

    std::filesystem::path AddFile(std::string_view name, std::string_view bytes) const {
        return folder_.Write("in/" + std::string(name), bytes);
    }

    // "a7.png" and the like.
    static std::string Numbered(int number, std::string_view extension) {
        std::string name = "a";
        name += std::to_string(number);
        name += extension;
        return name;
    }

    // The scene of an earlier conversion.
    std::filesystem::path AddOutput(std::string_view name) const {
        return folder_.Write("out/" + std::string(name), kFormerScene);
    }

    void AnswerConflictWith(BatchConflictPolicy policy) {
        converter_.onConflict = [this, policy](const std::wstring& text) {
            questions_.push_back(text);
            return policy;
        };
    }

    void Run() { converter_.Run(model_, FromPath(input_), FromPath(output_), 0); }

    // Names and whether they hold a new scene, in the order of the names.
    [[nodiscard]] std::vector<std::string> Outputs() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(output_)) {
            const bool isNew = ReadFile(entry.path()).starts_with("ply\n");
            names.push_back(entry.path().filename().native() + (isNew ? "" : " (former)"));
        }
        std::ranges::sort(names);
        return names;
    }

    // Numbers and names of the files that were reported, each once.
    [[nodiscard]] std::vector<std::pair<int, std::wstring>> ReportedFiles() const {
        std::vector<std::pair<int, std::wstring>> files;
        for (const BatchProgressInfo& report : reports_) {
            const std::pair<int, std::wstring> file(report.current, report.fileName);
            if (!IsLast(report) && (files.empty() || files.back() != file)) files.push_back(file);
        }
        return files;
    }

    // Called when a file has been converted or has failed, with their count so far.
    void AfterEachFile(const std::function<void(std::size_t done)>& work) {
        converter_.onFileFinished = [this, work](bool success, const std::wstring& text) {
            results_.emplace_back(success, text);
            work(results_.size());
        };
    }

    static bool NamesNoFile(const BatchProgressInfo& info) {
        return info.current == 0 && info.total == 0 && info.fileName.empty() &&
               info.elapsedSeconds == 0;
    }

    // The last report, after a check that it is the only one of its kind.
    [[nodiscard]] BatchProgressInfo LastReport() const {
        EXPECT_EQ(std::ranges::count_if(reports_, IsLast), 1);
        return reports_.empty() ? BatchProgressInfo{} : reports_.back();
    }

    static bool IsLast(const BatchProgressInfo& info) {
        return info.completed || info.cancelled || !info.errorMessage.empty();
    }

    static constexpr std::string_view kFormerScene = "former scene";

    TemporaryFolder folder_;
    std::string picture_ = EncodePng(NoisePicture(4, 3));
    std::wstring model_ = FromPath(ModelFile("echo"));
    std::filesystem::path input_ = folder_ / "in";
    std::filesystem::path output_ = folder_ / "out";
    std::shared_ptr<ConversionEngine> engine_ = std::make_shared<ConversionEngine>();
    BatchConverter converter_{engine_};
    std::vector<BatchProgressInfo> reports_;
    std::vector<std::wstring> questions_;
    std::vector<std::pair<bool, std::wstring>> results_;
};

}  // namespace vistrel::test
