// SPDX-License-Identifier: GPL-3.0-or-later
// Runs the network on one picture.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/execution_provider.h"
#include "engine/gaussian_set.h"
#include "engine/image_loading.h"

namespace vistrel {

// Tells which execution providers there are; a test puts its own list here.
using ProviderList = std::function<std::vector<std::string>()>;

// The network's file could not be opened as one: it is missing, cut off, or something else. Carries
// ONNX Runtime's text.
class ModelFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Creates a session for the ONNX file at `modelPath`, feeds the inputs that it declares ("image"
// [1, 3, 1536, 1536] and "disparity_factor" [1], float32) and parses its outputs. Logs the
// provider, the names of inputs and outputs, and the number of Gaussians. The session lives for
// this call, the ONNX Runtime environment for the process. `onOpened` is called in between, when
// the network is about to run.
//
// CUDA is never replaced by the CPU: where it is missing, the call fails.
//
// Throws ModelFileError, another std::runtime_error or Ort::Exception (also of the standard family)
// with the message for the user. Any thread, several at a time.
[[nodiscard]] GaussianSet RunSharpInference(
    const std::wstring& modelPath, const PreprocessedImage& image, float disparityFactor,
    ExecutionProvider provider, const ProviderList& providers = AvailableExecutionProviders,
    const std::function<void()>& onOpened = {});

}  // namespace vistrel
