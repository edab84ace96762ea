// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/single_conversion.h"

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "cli/command.h"
#include "cli/convert/output_file.h"
#include "cli/convert/scene_encoding.h"
#include "cli/convert/scene_output.h"
#include "cli/long_work.h"
#include "engine/conversion_engine.h"
#include "formats/scene_formats.h"
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
    std::vector<std::byte> bytes =
        standardInput ? ReadPhotoDescriptor(STDIN_FILENO) : ReadPhotoFile(options.input);
    if (StartsLikeScene({reinterpret_cast<const char*>(bytes.data()), bytes.size()})) {
        throw PhotoError("It is a scene, and scenes are read from files only.");
    }
    return bytes;
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
        MakeOutputFolder(options.output);
        return photograph;
    };
}

// Throws std::exception with what went wrong.
void ConvertAndTell(const SingleOptions& options, LongStep& step) {
    const ConversionEngine engine(AvailableExecutionProviders, MakeReader(options, step),
                                  WriterFor(options.output, options.writing));
    const ConversionJob job{FromUtf8(options.model), FromUtf8(NameOfInput(options)),
                            FromUtf8(options.output), options.keepRatio, options.provider};
    int stages = 0;
    ConversionCallbacks callbacks;
    callbacks.onProgress = [&](const std::wstring& stage) {
        ++stages;
        const bool savesOther = stages == kSavingStage && IsForeignName(options.output);
        const std::string text = savesOther ? "Saving the scene\u2026" : ToUtf8(stage);
        Tell(text);
        step.Begin(stages == kNetworkStage ? "Opening the network\u2026" : text);
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
    CheckOutputInFolder(options.output);
    RunLongWork([&](LongStep& step) { ConvertAndTell(options, step); }, EndUnfinished);
}

}  // namespace vistrel
