#include "cli/convert/batch_conversion.h"

#include <sys/stat.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "base/text_encoding.h"
#include "cli/convert/batch_display.h"
#include "cli/convert/whole_ply.h"
#include "cli/interrupts.h"
#include "engine/conversion_engine.h"

namespace vistrel {
namespace {

// The engine reports four stages of a file; from the last one on the output may be touched.
constexpr int kSavingReport = 4;

// Which file it is, under whatever name; nothing where there is none. Throws
// std::filesystem::filesystem_error when the disk does not tell.
std::optional<std::pair<dev_t, ino_t>> Identity(const std::filesystem::path& path) {
    struct stat status {};
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
        if (!IsSupportedImageExtension(FromPath(entry.path().extension()))) continue;
        if (const auto photograph = Identity(entry.path())) inputs.insert(*photograph);
        outputs.insert(ToPath(BatchOutputPath(FromPath(entry.path()), FromPath(options.outputDir),
                                              BatchConflictPolicy::OverwriteAll)));
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
            SetWritten({});
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
    // The worker's thread.
    void OnReport(const BatchProgressInfo& info) {
        last_ = info;
        if (info.current == 0) return;
        if (info.current != current_) {
            current_ = info.current;
            total_ = info.total;
            stage_ = 0;
            name_ = ToUtf8(info.fileName);
            output_ = ToPath(BatchOutputPath(info.fileName, FromPath(options_.outputDir), policy_));
        }
        ++stage_;
        {
            const std::lock_guard lock(mutex_);
            // A wish that came before the batch began would be lost.
            if (stopAsked_) converter_.cancelRequested = true;
        }
        if (stage_ == kSavingReport) SetWritten(output_);
        display_.Show(info);
    }

    void SetWritten(const std::filesystem::path& output) {
        const std::lock_guard lock(mutex_);
        written_ = output;
    }

    BatchConflictPolicy OnConflict() {
        policy_ = options_.onConflict;
        if (policy_ == BatchConflictPolicy::CancelBatch) {
            display_.Tell("Output files already exist in " + options_.outputDir.native() +
                          "; nothing was converted. Choose --on-conflict overwrite to replace "
                          "them or --on-conflict rename to keep them.");
        }
        if (policy_ == BatchConflictPolicy::OverwriteAll) {
            overwritten_ = OutputThatIsAnInput(options_);
            if (!overwritten_.empty()) policy_ = BatchConflictPolicy::CancelBatch;
        }
        return policy_;
    }

    void OnFinished(bool success, const std::wstring& text) {
        std::string failure = success ? "" : ToUtf8(text);
        const std::filesystem::path output = success ? ToPath(text) : "";
        if (success && !IsWholeSplatPly(output)) {
            success = false;
            std::error_code ignored;
            std::filesystem::remove(output, ignored);
            failure =
                output.native() + " could not be written whole and was removed. Is the disk full?";
        }
        SetWritten({});
        if (success) {
            ++converted_;
        } else {
            display_.Tell("Error: " + name_ + ": " + failure);
        }
    }

    // The main thread.
    void Stop(int signal) {
        const std::lock_guard lock(mutex_);
        if (stopAsked_) {
            display_.RemoveBar();
            if (written_.empty()) Interrupts::DieOf(signal);
            Interrupts::DieWithout(written_, worker_, signal);
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
    BatchConverter converter_{std::make_shared<ConversionEngine>()};
    std::thread worker_;

    // The worker's, and read when it has ended.
    BatchProgressInfo last_;
    BatchConflictPolicy policy_ = BatchConflictPolicy::OverwriteAll;
    std::filesystem::path overwritten_;  // the output that would overwrite an input
    int current_ = 0;
    int total_ = 0;
    int stage_ = 0;
    int converted_ = 0;
    std::string name_;
    std::filesystem::path output_;  // where the present file's scene most likely goes

    std::mutex mutex_;
    // Guarded by mutex_; empty while no output is being written, also when the worker has ended.
    std::filesystem::path written_;
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
