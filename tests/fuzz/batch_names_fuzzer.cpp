// SPDX-License-Identifier: GPL-3.0-or-later
// A batch over folders of files with any names: it takes the photographs and nothing else, in the
// order of the listing; every scene has the name that the plain rules give; what there was before
// is lost only where that was agreed to; and no name is changed on the way to the engine or to a
// report.
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "batch/batch_converter.h"
#include "tests/fuzz/any_files.h"
#include "tests/fuzz/recording_engine.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/scratch_folder.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

using fuzz::Require;

// Where the last dot is; nothing in names without one and where it is the first character.
std::optional<std::size_t> Dot(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == name.npos || dot == 0 ? std::nullopt : std::optional(dot);
}

bool IsPictureName(const std::string& name) {
    const auto dot = Dot(name);
    if (!dot) return false;
    std::string ending = name.substr(*dot);
    for (char& c : ending) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    constexpr std::array<std::string_view, 5> kTaken = {".jpg", ".jpeg", ".png", ".bmp", ".webp"};
    return std::ranges::find(kTaken, ending) != kTaken.end();
}

bool Exists(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

class OneBatch {
  public:
    explicit OneBatch(FuzzedDataProvider& data)
        : input_(scratch_ / fuzz::AnyFileName(data)),
          output_(data.ConsumeIntegralInRange(0, 3) > 0 ? scratch_ / "scenes" : input_) {
        std::filesystem::create_directory(input_);
        std::filesystem::create_directory(output_);
        for (int i = data.ConsumeIntegralInRange(0, 6); i > 0; --i)
            fuzz::MakeAnything(data, input_ / fuzz::AnyFileName(data));
        for (int i = data.ConsumeIntegralInRange(0, 4); i > 0; --i)
            fuzz::MakeAnything(data, output_ / fuzz::AnySceneName(data));
        policy_ = BatchConflictPolicy{data.ConsumeIntegralInRange(1, 3)};
        asked_ = data.ConsumeIntegralInRange(0, 7) > 0;
        LookAtInput();
        LookAtFormer(input_);
        LookAtFormer(output_);
    }

    void Run() {
        fuzz::WatchConversions([this](const std::string& photograph, const std::string& scene) {
            RequireConversion(photograph, scene);
        });
        BatchConverter converter(std::make_shared<ConversionEngine>(ProviderList{}));
        converter.onProgress = [this](const BatchProgressInfo& info) { OnReport(info); };
        if (asked_) converter.onConflict = [this](const std::wstring&) { return Answer(); };
        const bool conflict = HasConflict();
        converter.Run(L"model", FromPath(input_), FromPath(output_), 0);
        Require(lastReports_ == 1);
        Require(answers_ == (conflict && asked_ ? 1 : 0));
        RequireEnd();
        for (const auto& [path, content] : expected_) Require(test::ReadFile(path) == content);
    }

  private:
    void LookAtInput() {
        for (const auto& entry : std::filesystem::directory_iterator(input_)) {
            struct stat status = {};
            const bool found = stat(entry.path().c_str(), &status) == 0;
            if (!found && errno != ENOENT) unreadable_ = true;
            const bool regular = found && S_ISREG(status.st_mode);
            if (regular && IsPictureName(entry.path().filename()))
                photographs_.push_back(entry.path());
        }
    }

    void LookAtFormer(const std::filesystem::path& folder) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const auto status = entry.symlink_status();
            if (std::filesystem::is_regular_file(status))
                expected_[entry.path()] = fuzz::FormerContent(entry.path());
        }
    }

    [[nodiscard]] std::string Stem(const std::string& photograph) const {
        const std::string name = photograph.substr(input_.native().size() + 1);
        return output_.native() + '/' + name.substr(0, Dot(name).value_or(0));
    }

    // A conflict, and a batch that gets as far as asking about it.
    [[nodiscard]] bool HasConflict() const {
        return !unreadable_ && std::ranges::any_of(photographs_, [this](const std::string& name) {
            return Exists(Stem(name) + ".ply");
        });
    }

    BatchConflictPolicy Answer() {
        ++answers_;
        Require(converted_ == 0);
        return policy_;
    }

    [[nodiscard]] std::string ExpectedScene(const std::string& photograph) const {
        const std::string plain = Stem(photograph) + ".ply";
        const bool rename = answers_ > 0 && policy_ == BatchConflictPolicy::RenameAll;
        if (!rename || !Exists(plain)) return plain;
        for (int number = 1;; ++number) {
            const std::string numbered = Stem(photograph) + '(' + std::to_string(number) + ").ply";
            if (!Exists(numbered)) return numbered;
        }
    }

    void RequireConversion(const std::string& photograph, const std::string& scene) {
        Require(converted_ < photographs_.size() && photographs_[converted_] == photograph);
        Require(scene == ExpectedScene(photograph));
        Require(std::filesystem::path(scene).parent_path() == output_);
        Require(std::ranges::find(photographs_, scene) == photographs_.end());
        ++converted_;
        // Whether it can be written is another matter: there may be a folder or a link to nowhere.
        const auto former = std::filesystem::symlink_status(scene);
        const bool writable = std::filesystem::is_regular_file(former) ||
                              (!std::filesystem::exists(former) && !IsTooLong(scene));
        if (writable) expected_[scene] = fuzz::RecordedScene(photograph);
    }

    static bool IsTooLong(const std::string& path) {
        constexpr std::size_t kLongestName = 255;
        return std::filesystem::path(path).filename().native().size() > kLongestName;
    }

    void OnReport(const BatchProgressInfo& info) {
        if (info.completed || info.cancelled || !info.errorMessage.empty()) {
            ++lastReports_;
            last_ = info;
            return;
        }
        Require(lastReports_ == 0);
        Require(static_cast<std::size_t>(info.current) == converted_);
        Require(static_cast<std::size_t>(info.total) == photographs_.size());
        Require(input_ / ToPath(info.fileName) == photographs_[converted_ - 1]);
    }

    void RequireEnd() const {
        const bool cancelled = answers_ > 0 && policy_ == BatchConflictPolicy::CancelBatch;
        Require(last_.errorMessage.empty() != unreadable_);
        Require(last_.cancelled == cancelled);
        Require(last_.completed == (!unreadable_ && !cancelled));
        Require(converted_ == (last_.completed ? photographs_.size() : 0));
    }

    test::TemporaryFolder scratch_ = fuzz::MakeScratchFolder();
    std::filesystem::path input_;
    std::filesystem::path output_;
    BatchConflictPolicy policy_ = BatchConflictPolicy::OverwriteAll;
    bool asked_ = false;       // there is somebody to ask
    bool unreadable_ = false;  // something in the folder cannot be looked at
    std::vector<std::string> photographs_;
    std::map<std::string, std::string> expected_;  // what the files hold in the end
    std::size_t converted_ = 0;
    int answers_ = 0;
    int lastReports_ = 0;
    BatchProgressInfo last_;
};

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    vistrel::OneBatch(data).Run();
    return 0;
}

// Begins with noise that is long enough for folders full of files.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    if (size > 64 && seed % 16 > 0) return LLVMFuzzerMutate(data, size, most);
    std::minstd_rand random(seed);
    constexpr std::size_t kNoise = 256;
    size = std::min(kNoise, most);
    std::generate_n(data, size, [&] { return static_cast<std::uint8_t>(random() >> 8U); });
    return size;
}
