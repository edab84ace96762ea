// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/scene_conversion.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "cli/command.h"
#include "cli/convert/output_file.h"
#include "cli/convert/scene_output.h"
#include "cli/long_work.h"
#include "cli/photograph_check.h"
#include "formats/scene_formats.h"

namespace vistrel {
namespace {

void ConvertInSteps(const SceneConversion& conversion, LongStep& step) {
    const auto begin = [&step](const char* stage) {
        Tell(stage);
        step.Begin(stage);
    };
    begin("Reading the scene\u2026");
    RawScene scene = WithName(conversion.input, [&] { return ReadScene(conversion); });
    begin("Saving the scene\u2026");
    WriteScene(std::move(scene), conversion);
}

}  // namespace

bool IsSceneFile(const std::filesystem::path& file) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(file, ignored);
    if (std::filesystem::is_other(status)) return false;
    if (!std::filesystem::is_regular_file(status)) return HasSceneEnding(file);
    std::string start;
    try {
        start = StartOfFile(file, std::max(kSceneStartBytes, kPhotographStartBytes));
    } catch (const std::runtime_error&) {
        // Who reads the file tells what is wrong with it.
    }
    return StartsLikeScene(start) || (HasSceneEnding(file) && !IsPhotograph(file, start));
}

RawScene ReadScene(const SceneConversion& conversion) {
    RawSceneSink sink;
    ReadSceneFile(conversion.input, sink, conversion.writing.spzFrame);
    return std::move(sink.scene);
}

std::size_t WriteScene(RawScene scene, const SceneConversion& conversion) {
    MakeOutputFolder(conversion.output);
    // Nothing is lost with the power: the scene that it comes from is still there.
    return SaveScene(std::move(scene), conversion.output, conversion.keepRatio, conversion.writing,
                     Durability::kUsual);
}

void ConvertScene(const SceneConversion& conversion) {
    CheckOutputInFolder(conversion.output);
    RunLongWork([&](LongStep& step) { ConvertInSteps(conversion, step); }, EndUnfinished);
}

}  // namespace vistrel
