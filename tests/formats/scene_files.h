// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes and files of them, as tests of readers and writers need them.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "formats/scene_io.h"

namespace vistrel::test {

// What the reader takes the bytes for. Throws std::logic_error for a file that is not of the
// reader's format, else what the reader throws.
inline RawScene SceneOf(SceneReader read, std::string_view bytes, const std::string& ending = "",
                        int threads = 2) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    RawSceneSink sink;
    const SceneInput input = {
        .file = file, .ending = ending, .folder = {}, .spzFrame = {}, .threads = threads};
    if (!read(input, sink)) throw std::logic_error("not of the format");
    return std::move(sink.scene);
}

// What is wrong with the bytes; empty where nothing is.
inline std::string RefusalOf(SceneReader read, std::string_view bytes,
                             const std::string& ending = "") {
    try {
        static_cast<void>(SceneOf(read, bytes, ending));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

inline std::string FileOf(SceneWriter write, const RawScene& scene, int threads = 2) {
    MemorySink sink;
    write(scene, {.threads = threads}, sink);
    return std::move(sink.content);
}

// `count` Gaussians, no two of them alike, with colours, opacities and harmonics that every format
// can hold.
inline RawScene VariedScene(std::size_t count, int degree) {
    RawScene scene({count, degree, {}});
    // Numbers in -1..1 that neither repeat nor come near each other for neighbours.
    const auto varied = [](std::size_t row, std::size_t i) {
        constexpr double kGolden = 0.6180339887498949;
        const double turns = kGolden * static_cast<double>(i * 61 + row * 17 + 1);
        return static_cast<float>(2.0 * (turns - static_cast<double>(static_cast<long>(turns)))) -
               1.0F;
    };
    for (std::size_t row = 0; row < RawValues(degree); ++row) {
        for (std::size_t i = 0; i < count; ++i) scene.Row(row)[i] = varied(row, i);
    }
    for (std::size_t i = 0; i < count; ++i) {
        scene.Row(kPositionRow + 2)[i] = 5.0F + 4.0F * scene.Row(kPositionRow + 2)[i];
        for (std::size_t k = 0; k < 3; ++k) scene.Row(kScaleRow + k)[i] -= 4.0F;
        scene.Row(kOpacityRow)[i] *= 4.0F;
    }
    return scene;
}

// Appends numbers as they lie in memory.
template <typename Values>
void AppendBytes(std::string& bytes, const Values& values) {
    const auto all = std::as_bytes(std::span(values));
    bytes.append(reinterpret_cast<const char*>(all.data()), all.size());
}

}  // namespace vistrel::test
