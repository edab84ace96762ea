// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_conversion.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "cli/convert/batch_display.h"
#include "cli/convert/scene_encoding.h"
#include "cli/interrupts.h"
#include "cli/output_check.h"
#include "engine/conversion_engine.h"
#include "photos/photo_reader.h"

namespace vistrel {
namespace {

constexpr std::array<std::wstring_view, 14> kMoreExtensions = {
    L".heic", L".heif", L".avif", L".tif", L".tiff", L".jxl", L".dng",
    L".cr2",  L".cr3",  L".nef",  L".arw", L".raf",  L".orf", L".rw2"};

bool IsPhotographExtension(std::wstring_view extension) {
    return IsSupportedImageExtension(extension) || IsExtensionAmong(extension, kMoreExtensions);
}

// Which file it is, under whatever name; nothing where there is none. Throws
// std::filesystem::filesystem_error when the disk does not tell.
std::optional<std::pair<dev_t, ino_t>> Identity(const std::filesystem::path& path) {
    struct stat status{};
    if (stat(path.c_str(), &status) != 0) {
        const std::error_code error(errno, std::generic_category());
        if (error != std::errc::io_error) return std::nullopt;
        throw std::filesystem::filesystem_error("cannot look at file", path, error);
    }
    return std::pair(status.st_dev, status.st_ino);
}

// The first output that is, by a link, one of the photographs or the network; writing it would lose
// them. Empty: there is none. Throws std::filesystem::filesystem_error.
std::filesystem::path OutputThatIsAnInput(const BatchOptions& options) {
    std::set<std::pair<dev_t, ino_t>> inputs;
    std::set<std::filesystem::path> outputs;
    if (const auto model = Identity(options.model)) inputs.insert(*model);
    for (const auto& entry : std::filesystem::directory_iterator(options.inputDir)) {
        if (!IsPhotographExtension(FromPath(entry.path().extension()))) continue;
        if (const auto photograph = Identity(entry.path())) inputs.insert(*photograph);
        outputs.insert(ToPath(BatchOutputPath(FromPath(entry.path()), FromPath(options.outputDir),
                                              BatchConflictPolicy::OverwriteAll, options.ending)));
    }
    for (const std::filesystem::path& output : outputs) {
        const auto identity = Identity(output);
        if (identity && inputs.contains(*identity)) return output;
    }
    return {};
}

class FolderConversion {
  public:
    explicit FolderConversion(const BatchOptions& options) : options_(options) {
        converter_.onProgress = [this](const BatchProgressInfo& info) { OnReport(info); };
        converter_.onConflict = [this](const std::wstring&) { return OnConflict(); };
        converter_.onFileFinished = [this](bool success, const std::wstring& text) {
            OnFinished(success, text);
        };
    }

    BatchOutcome Run() {
        worker_ = std::thread([this] {
            try {
                converter_.Run(FromPath(options_.model), FromPath(options_.inputDir),
                               FromPath(options_.outputDir),
                               static_cast<std::int32_t>(options_.provider));
            } catch (const std::exception& error) {
                display_.Tell(std::string("Error: ") + error.what());
            }
            interrupts_.Wake();
        });
        const int second = display_.HasBar() ? 1000 : Interrupts::kForever;
        while (const int event = interrupts_.Wait(second)) {
            if (event == Interrupts::kTimeout) {
                display_.Tick();
            } else {
                Stop(event);
            }
        }
        worker_.join();
        display_.RemoveBar();
        return TellOutcome();
    }

  private:
    PhotographReader MakeReader() {
        PhotoReaderOptions reading;
        reading.focal = options_.focal;
        reading.convertColours = options_.convertColours;
        reading.onNote = [this](const std::wstring& path, const std::string& note) {
            display_.Tell(ToPath(path).filename().native() + ": " + note);
        };
        return MakePhotoReader(std::move(reading));
    }

    // The worker's thread.
    void OnReport(const BatchProgressInfo& info) {
        stage_ = info.current == last_.current ? stage_ + 1 : 1;
        last_ = info;
        if (info.current == 0) return;
        total_ = info.total;
        name_ = ToUtf8(info.fileName);
        {
            const std::lock_guard lock(mutex_);
            // A wish that came before the batch began would be lost.
            if (stopAsked_) converter_.cancelRequested = true;
        }
        display_.Show(info);
        if (stage_ == 1) CheckOutputOf(info.fileName);
    }

    void CheckOutputOf(const std::wstring& photograph) {
        const std::filesystem::path output =
            ToPath(BatchOutputPath(FromPath(options_.inputDir / ToPath(photograph)),
                                   FromPath(options_.outputDir), policy_, options_.ending));
        CheckOutput(output);
        // Cameras put JPEG and raw of a photograph side by side, which make one scene.
        const auto former = written_.find(output);
        if (former == written_.end()) return;
        display_.Tell(name_ + ": Its scene replaces that of " + former->second + ".");
    }

    BatchConflictPolicy OnConflict() {
        if (options_.onConflict == BatchConflictPolicy::CancelBatch) {
            display_.Tell("Output files already exist in " + options_.outputDir.native() +
                          "; nothing was converted. Choose --on-conflict overwrite to replace "
                          "them or --on-conflict rename to keep them.");
        }
        if (options_.onConflict == BatchConflictPolicy::OverwriteAll) {
            overwritten_ = OutputThatIsAnInput(options_);
            if (!overwritten_.empty()) return BatchConflictPolicy::CancelBatch;
        }
        policy_ = options_.onConflict;
        return policy_;
    }

    void OnFinished(bool success, const std::wstring& text) {
        if (success) {
            ++converted_;
            written_[ToPath(text)] = name_;
        } else if (stage_ == kNetworkStage && converted_ == 0) {
            // One that has never worked would fail with the other photographs as well.
            networkFails_ = true;
            converter_.cancelRequested = true;
            display_.Tell("Error: the network cannot be used: " + ToUtf8(text));
        } else {
            display_.Tell("Error: " + name_ + ": " + ToUtf8(text));
        }
    }

    // The main thread.
    void Stop(int signal) {
        const std::lock_guard lock(mutex_);
        if (stopAsked_) {
            DiscardUnfinishedFiles();
            display_.RemoveBar();
            Interrupts::DieOf(signal);
        }
        stopAsked_ = true;
        converter_.cancelRequested = true;
        display_.Tell("Stopping after the current file; ask once more to stop at once.");
    }

    BatchOutcome TellOutcome() {
        if (!overwritten_.empty()) {
            display_.Tell(overwritten_.native() + " would overwrite a photograph or the MODEL.");
            return BatchOutcome::WouldOverwriteInput;
        }
        if (networkFails_) return BatchOutcome::NotAllConverted;
        if (!last_.errorMessage.empty()) {
            display_.Tell("Error: " + ToUtf8(last_.errorMessage));
        } else if (total_ > 0) {
            display_.Tell("Converted " + std::to_string(converted_) + " of " +
                          std::to_string(total_) + (last_.cancelled ? ", then stopped." : "."));
        } else if (last_.completed) {
            display_.Tell("There are no photographs in " + options_.inputDir.native() + ".");
        }
        return last_.completed && converted_ == total_ ? BatchOutcome::AllConverted
                                                       : BatchOutcome::NotAllConverted;
    }

    const BatchOptions& options_;
    Interrupts interrupts_;
    BatchDisplay display_;
    BatchConverter converter_{
        std::make_shared<ConversionEngine>(AvailableExecutionProviders, MakeReader(),
                                           WriterFor("a" + options_.ending, options_.writing)),
        IsPhotographExtension, options_.ending};
    std::thread worker_;

    // The worker's, and read when it has ended.
    BatchProgressInfo last_;
    std::filesystem::path overwritten_;  // the output that would overwrite an input
    int stage_ = 0;                      // of the file, counted from 1
    bool networkFails_ = false;          // told already
    int total_ = 0;
    int converted_ = 0;
    std::string name_;
    BatchConflictPolicy policy_ = BatchConflictPolicy::OverwriteAll;
    std::map<std::filesystem::path, std::string> written_;  // scene -> photograph

    std::mutex mutex_;
    bool stopAsked_ = false;  // guarded by mutex_
};

}  // namespace

BatchOutcome ConvertFolder(const BatchOptions& options) {
    std::error_code ignored;
    if (std::filesystem::is_directory(options.inputDir, ignored)) {
        CreateOutputFolder(FromPath(options.outputDir / ""));
    }
    return FolderConversion(options).Run();
}

}  // namespace vistrel
