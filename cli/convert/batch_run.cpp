// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_run.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "base/last_failure.h"
#include "base/new_file.h"
#include "base/text_encoding.h"
#include "batch/batch_converter.h"
#include "cli/convert/batch_display.h"
#include "cli/convert/output_file.h"
#include "cli/convert/scene_conversion.h"
#include "cli/convert/scene_encoding.h"
#include "cli/interrupts.h"
#include "engine/conversion_engine.h"
#include "photos/photo_reader.h"

namespace vistrel {
namespace {

using Clock = std::chrono::steady_clock;

class BatchRun {
  public:
    BatchRun(const ConvertOptions& options, const Batch& batch)
        : options_(options), batch_(batch) {}

    bool Run() {
        std::thread worker([this] {
            ConvertFiles();
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
        worker.join();
        display_.RemoveBar();
        if (const std::string outcome = Outcome(); !outcome.empty()) display_.Tell(outcome);
        if (!lastFailure_.empty()) KeepFailure(lastFailure_);
        NotifyOfEnd();
        const bool isWhole = !wasStopped_ && counts_.failed == 0 && !hasLostReport_;
        return FollowedWell() && isWhole;
    }

  private:
    [[nodiscard]] int Total() const { return static_cast<int>(batch_.files.size()); }

    // The worker's thread.
    void ConvertFiles() {
        for (const ListedFile& file : batch_.files) {
            wasStopped_ = stopAsked_;
            if (wasStopped_ || networkFails_) break;
            ++current_;
            ConvertFile(file);
        }
    }

    void ConvertFile(const ListedFile& file) {
        const Clock::time_point start = Clock::now();
        ReportLine line{.input = file.input, .output = file.output};
        gaussians_.reset();
        stage_ = 0;
        try {
            // Another process may have made it since this batch began.
            if (options_.many.onConflict == ConflictChoice::Skip && IsThere(file.output)) {
                ++counts_.skipped;
                return;
            }
            if (options_.many.onConflict == ConflictChoice::Rename) {
                line.output = ToPath(FreeOutputPath(FromPath(file.output), options_.many.ending));
            }
            if (file.isScene) {
                Convert({file.input, line.output, options_.keepRatio, options_.writing}, file.name);
            } else {
                line.error = FailureOf(file, line.output);
            }
        } catch (const std::exception& failure) {
            line.error = failure.what();
        }
        line.taken = Clock::now() - start;
        display_.Ended(*line.taken);
        if (line.error.empty()) {
            ++counts_.converted;
            line.gaussians = gaussians_;
        } else {
            CountFailure(file, line.error);
        }
        Report(line);
    }

    // Throws std::exception.
    void Convert(const SceneConversion& conversion, const std::string& name) {
        display_.Show({current_, Total(), name});
        CheckOutputInFolder(conversion.output);
        RawScene scene = ReadScene(conversion);
        display_.Show({current_, Total(), name});
        gaussians_ = WriteScene(std::move(scene), conversion);
    }

    // Of a photograph; empty where there was none.
    std::string FailureOf(const ListedFile& file, const std::filesystem::path& output) {
        std::string failure;
        ConversionCallbacks callbacks;
        callbacks.onProgress = [&](const std::wstring&) {
            ++stage_;
            display_.Show({current_, Total(), file.name});
            if (stage_ > 1) return;
            CheckOutputInFolder(output);  // the network takes minutes
            MakeOutputFolder(output);
        };
        callbacks.onFinished = [&failure](bool success, const std::wstring& text) {
            if (!success) failure = ToUtf8(text);
        };
        if (engine_.Run({FromUtf8(options_.model), FromPath(file.input), FromPath(output),
                         options_.keepRatio, options_.provider},
                        callbacks)) {
            networkHasWorked_ = true;
        }
        return failure;
    }

    void CountFailure(const ListedFile& file, const std::string& reason) {
        ++counts_.failed;
        lastFailure_ = reason;
        // One that has never worked would fail with the other photographs as well.
        networkFails_ = stage_ == kNetworkStage && !networkHasWorked_;
        display_.Tell("Error: " + (networkFails_ ? "the network cannot be used" : file.name) +
                      ": " + reason);
    }

    void Report(const ReportLine& line) {
        if (!batch_.report || hasLostReport_) return;
        try {
            batch_.report->Add(line);
        } catch (const std::exception& failure) {
            hasLostReport_ = true;
            display_.Tell(std::string("Error: ") + failure.what());
        }
    }

    // The main thread.
    void Stop(int signal) {
        if (stopAsked_) {
            DiscardUnfinishedFiles();
            display_.RemoveBar();
            Interrupts::DieOf(signal);
        }
        stopAsked_ = true;
        display_.Tell("Stopping after the current file; ask once more to stop at once.");
    }

    // Empty where nothing is to be said.
    [[nodiscard]] std::string Outcome() const {
        if (networkFails_) return {};
        const std::string skipped = std::to_string(counts_.skipped);
        if (Total() == 0 && counts_.skipped > 0) return "All " + skipped + " are there already.";
        if (Total() == 0 && counts_.failed > 0) return {};
        if (Total() == 0) {
            const std::string folder = options_.many.inputDir.native();
            const bool isWhole = !folder.empty() && options_.many.part.count == 1;
            return isWhole ? "There are no photographs in " + folder + "."
                           : "There is nothing to convert.";
        }
        // Not those that another process has made meanwhile.
        const int wanted = Total() - (counts_.skipped - batch_.counts.skipped);
        return "Converted " + std::to_string(counts_.converted) + " of " + std::to_string(wanted) +
               (counts_.skipped > 0 ? ", " + skipped + " were there already" : "") +
               (wasStopped_ ? ", then stopped." : ".");
    }

    void NotifyOfEnd() const {
        constexpr std::chrono::seconds kShort{30};  // nobody has gone away
        if (Clock::now() - start_ < kShort) return;
        NotifyDesktop(networkFails_ ? "The network cannot be used." : Outcome());
    }

    bool FollowedWell() {
        if (options_.many.then.empty() || stopAsked_) return true;
        const std::string failure =
            RunShellCommand(options_.many.then, counts_, options_.many.outputDir, interrupts_);
        if (failure.empty()) return true;
        display_.Tell("Error: the command of --then " + failure);
        return false;
    }

    PhotographReader MakeReader() {
        PhotoReaderOptions reading;
        reading.focal = options_.focal;
        reading.convertColours = !options_.ignoreColours;
        reading.onNote = [this](const std::wstring&, const std::string& note) {
            display_.Tell(batch_.files[static_cast<std::size_t>(current_ - 1)].name + ": " + note);
        };
        return MakePhotoReader(std::move(reading));
    }

    const ConvertOptions& options_;
    const Batch& batch_;
    const Clock::time_point start_ = Clock::now();
    Interrupts interrupts_;
    BatchDisplay display_;
    std::atomic<bool> stopAsked_ = false;

    // The worker's, and read when it has ended.
    BatchCounts counts_ = batch_.counts;
    int current_ = 0;  // number of the file, from 1
    int stage_ = 0;    // of a photograph, from 1
    std::optional<std::size_t> gaussians_;
    std::string lastFailure_;  // without the file's name
    bool networkHasWorked_ = false;
    bool networkFails_ = false;  // told already
    bool hasLostReport_ = false;
    bool wasStopped_ = false;

    const ConversionEngine engine_{AvailableExecutionProviders, MakeReader(),
                                   WriterFor("a" + options_.many.ending, options_.writing,
                                             [this](std::size_t count) { gaussians_ = count; })};
};

}  // namespace

bool RunBatch(const ConvertOptions& options, const Batch& batch) {
    return BatchRun(options, batch).Run();
}

}  // namespace vistrel
