// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/sharp_inference.h"

// The table of functions is fetched by hand, from a library that is opened late.
#define ORT_API_MANUAL_INIT
#include <onnxruntime_cxx_api.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <thread>

#include "base/log.h"
#include "base/text_encoding.h"
#include "engine/model_output.h"
#include "engine/onnxruntime_library.h"

namespace vistrel {
namespace {

constexpr std::array<std::int64_t, 4> kImageShape = {1, 3, kNetworkSide, kNetworkSide};
constexpr std::array<std::int64_t, 1> kDisparityShape = {1};

// Before anything else of ONNX Runtime.
void RequireApi() {
    static const bool ready [[maybe_unused]] = [] {
        Ort::InitApi(static_cast<const OrtApi*>(OpenedOnnxRuntime().api));
        return true;
    }();
}

// One for the process, made by the first run and left alone at the end: sessions of detached
// threads may still be using it then.
Ort::Env& Environment() {
    RequireApi();
    static auto* const environment = new Ort::Env(ORT_LOGGING_LEVEL_ERROR, "sharp_inference");
    return *environment;
}

// The names, each followed by one blank.
std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text.append(name).append(" ");
    return text;
}

void AppendCuda(Ort::SessionOptions& options, const std::vector<std::string>& available) {
    if (std::find(available.begin(), available.end(), kCudaProviderName) == available.end()) {
        throw std::runtime_error(std::string(kCudaProviderName) +
                                 " not found in the loaded DLL. Supported: " + Listed(available));
    }
    options.AppendExecutionProvider_CUDA(OrtCUDAProviderOptions());
    LogInfo("  Using CUDA Execution Provider (Explicit).");
}

Ort::SessionOptions Options(ExecutionProvider provider, const ProviderList& providers) {
    Ort::SessionOptions options;
    options.SetIntraOpNumThreads(static_cast<int>(std::thread::hardware_concurrency()));
    options.SetGraphOptimizationLevel(ORT_ENABLE_ALL);
    const std::vector<std::string> available = providers();
    if (provider == ExecutionProvider::Cuda) {
        AppendCuda(options, available);
    } else {
        LogInfo("  Using CPU Execution Provider.");
    }
    return options;
}

Ort::Session Open(Ort::Env& environment, const std::wstring& modelPath,
                  const Ort::SessionOptions& options) {
    try {
        return {environment, ToPath(modelPath).c_str(), options};
    } catch (const Ort::Exception& failure) {
        throw ModelFileError(failure.what());
    }
}

struct Names {
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
};

Names NamesOf(const Ort::Session& session) {
    const Ort::AllocatorWithDefaultOptions allocator;
    Names names;
    for (std::size_t i = 0; i < session.GetInputCount(); ++i) {
        names.inputs.emplace_back(session.GetInputNameAllocated(i, allocator).get());
    }
    for (std::size_t i = 0; i < session.GetOutputCount(); ++i) {
        names.outputs.emplace_back(session.GetOutputNameAllocated(i, allocator).get());
    }
    return names;
}

// A tensor over memory of the caller, which has to outlive it. ONNX Runtime takes memory that could
// be written to, but does not write to the inputs of a run.
template <std::size_t kRank>
Ort::Value TensorOver(std::span<const float> values, const std::array<std::int64_t, kRank>& shape) {
    const auto memory = Ort::MemoryInfo::CreateCpu(OrtArenaAllocator, OrtMemTypeDefault);
    return Ort::Value::CreateTensor<float>(memory, const_cast<float*>(values.data()), values.size(),
                                           shape.data(), shape.size());
}

// In the order in which the session wants them.
std::vector<Ort::Value> InputValues(const std::vector<std::string>& names,
                                    const PreprocessedImage& image, const float& disparityFactor) {
    std::vector<Ort::Value> values;
    for (const std::string& name : names) {
        if (name == "image") {
            values.push_back(TensorOver(image.tensor, kImageShape));
        } else if (name == "disparity_factor") {
            values.push_back(TensorOver({&disparityFactor, 1}, kDisparityShape));
        } else {
            throw std::runtime_error("Unexpected model input: " + name);
        }
    }
    return values;
}

std::vector<const char*> Pointers(const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const std::string& name : names) pointers.push_back(name.c_str());
    return pointers;
}

// What is no tensor (a sequence, a map, an optional value that is not there) has no values to show.
ModelOutput View(const Ort::Value& value) {
    ModelOutput output;
    if (!value.HasValue() || !value.IsTensor()) return output;
    const Ort::TensorTypeAndShapeInfo info = value.GetTensorTypeAndShapeInfo();
    output.shape = info.GetShape();
    output.isFloat32 = info.GetElementType() == ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT;
    if (output.isFloat32) {
        output.values = {value.GetTensorData<float>(), info.GetElementCount()};
    }
    return output;
}

}  // namespace

std::vector<std::string> AvailableExecutionProviders() {
    RequireApi();
    return Ort::GetAvailableProviders();
}

void OpenCudaProvider() {
    Environment();  // to which failures are logged
    Ort::SessionOptions().AppendExecutionProvider_CUDA(OrtCUDAProviderOptions());
}

GaussianSet RunSharpInference(const std::wstring& modelPath, const PreprocessedImage& image,
                              float disparityFactor, ExecutionProvider provider,
                              const ProviderList& providers,
                              const std::function<void()>& onOpened) {
    Ort::Env& environment = Environment();
    const Ort::SessionOptions options = Options(provider, providers);
    Ort::Session session = Open(environment, modelPath, options);

    const Names names = NamesOf(session);
    LogInfo("  Input  names: " + Listed(names.inputs));
    LogInfo("  Output names: " + Listed(names.outputs));
    const std::vector<Ort::Value> inputs = InputValues(names.inputs, image, disparityFactor);

    if (onOpened) onOpened();
    LogInfo("  Running inference...");
    const std::vector<Ort::Value> results =
        session.Run(Ort::RunOptions{nullptr}, Pointers(names.inputs).data(), inputs.data(),
                    inputs.size(), Pointers(names.outputs).data(), names.outputs.size());

    std::vector<ModelOutput> outputs;
    outputs.reserve(results.size());
    for (const Ort::Value& result : results) outputs.push_back(View(result));
    GaussianSet gaussians = ParseModelOutputs(outputs);
    LogInfo("  Parsed " + std::to_string(gaussians.count) + " Gaussians.");
    return gaussians;
}

}  // namespace vistrel
