// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/single_conversion.h"

#include <unistd.h>

#include <cstddef>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "cli/command.h"
#include "cli/interrupts.h"
#include "cli/long_step.h"
#include "cli/output_check.h"
#include "engine/conversion_engine.h"
#include "photos/photo_file.h"
#include "photos/photo_reader.h"

namespace vistrel {
namespace {

bool IsStandardInput(const SingleOptions& options) {
    return options.input == "-";
}

// What messages and the log call the photograph.
std::string NameOfInput(const SingleOptions& options) {
    return IsStandardInput(options) ? "standard input" : options.input;
}

bool IsSameFile(const std::string& first, const std::string& second) {
    std::error_code error;
    if (std::filesystem::equivalent(first, second, error)) return true;
    if (error == std::errc::io_error) {
        throw std::filesystem::filesystem_error("cannot look at files", first, second, error);
    }
    return false;
}

bool HasFolder(const std::string& output) {
    std::error_code ignored;
    const std::filesystem::path folder = std::filesystem::path(output).parent_path();
    return folder.empty() || std::filesystem::is_directory(folder, ignored);
}

// Lets `read` fail with the photograph's name.
template <typename Read>
auto Named(const SingleOptions& options, Read read) {
    try {
        return read();
    } catch (const PhotoError& failure) {
        throw std::runtime_error(NameOfInput(options) + ": " + failure.what());
    }
}

// What may keep the user waiting for its end; nothing where the photograph is an ordinary file.
std::vector<std::byte> ReadStream(const SingleOptions& options, LongStep& step) {
    std::error_code ignored;
    const bool standardInput = IsStandardInput(options);
    if (!standardInput && !std::filesystem::is_fifo(options.input, ignored)) return {};
    const char* const stage =
        standardInput ? "Reading standard input\u2026" : "Reading the pipe\u2026";
    Tell(stage);
    step.Begin(stage);
    return standardInput ? ReadPhotoDescriptor(STDIN_FILENO) : ReadPhotoFile(options.input);
}

PhotographReader MakeReader(const SingleOptions& options, LongStep& step) {
    PhotoReaderOptions reading;
    reading.focal = options.focal;
    reading.convertColours = options.convertColours;
    reading.onNote = [&options](const std::wstring&, const std::string& note) {
        Tell(NameOfInput(options) + ": " + note);
    };
    reading.bytes = Named(options, [&] { return ReadStream(options, step); });
    return [&options, read = MakePhotoReader(std::move(reading))](const std::wstring& path) {
        Photograph photograph = Named(options, [&] { return read(path); });
        if (!HasFolder(options.output)) {
            CreateOutputFolder(FromUtf8(options.output));
            CheckOutput(options.output);
        }
        return photograph;
    };
}

// Throws std::exception with what went wrong.
void ConvertAndTell(const SingleOptions& options, LongStep& step) {
    const ConversionEngine engine(AvailableExecutionProviders, MakeReader(options, step));
    const ConversionJob job{FromUtf8(options.model), FromUtf8(NameOfInput(options)),
                            FromUtf8(options.output), options.keepRatio, options.provider};
    int stages = 0;
    ConversionCallbacks callbacks;
    callbacks.onProgress = [&](const std::wstring& stage) {
        const std::string text = ToUtf8(stage);
        Tell(text);
        step.Begin(++stages == kNetworkStage ? "Opening the network\u2026" : text);
    };
    callbacks.onNetworkOpened = [&step] { step.Begin("Running the network\u2026"); };
    std::string failure;
    callbacks.onFinished = [&failure](bool success, const std::wstring& text) {
        if (!success) failure = ToUtf8(text);
    };
    if (!engine.Run(job, callbacks)) throw std::runtime_error(failure);
}

}  // namespace

bool OutputIsAnInput(const SingleOptions& options) {
    const std::string photograph = IsStandardInput(options) ? "/dev/stdin" : options.input;
    return IsSameFile(options.output, photograph) || IsSameFile(options.output, options.model);
}

void ConvertPhotograph(const SingleOptions& options) {
    Interrupts interrupts;
    if (HasFolder(options.output)) CheckOutput(options.output);

    LongStep step;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            ConvertAndTell(options, step);
        } catch (...) {
            failure = std::current_exception();
        }
        interrupts.Wake();
    });
    while (const int event = interrupts.Wait(LongStep::kTick)) {
        if (event != Interrupts::kTimeout) {
            DiscardUnfinishedFiles();
            Interrupts::DieOf(event);
        }
        step.Tick();
    }
    worker.join();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace vistrel
