// SPDX-License-Identifier: GPL-3.0-or-later
// One session and one run with a given ONNX Runtime, as a conversion has them:
//
//     onnxruntime_session LIBRARY MODEL
//
// prints one line of JSON: the library's version; wall-clock and processor seconds of creating the
// session and of running it; and the process's peak memory in MiB after each. A process of its own
// for every measurement keeps libraries and peaks apart. A network that computes anything but
// finite numbers is refused, because processors take their time over the others.
#define ORT_API_MANUAL_INIT
#include <dlfcn.h>
#include <onnxruntime_cxx_api.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

// Every function used here was there in 1.17 already, so older versions than the headers' can be
// measured too.
constexpr std::uint32_t kApiVersion = 17;

std::string LoadOnnxRuntime(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    using GetApiBase = const OrtApiBase* (*)();
    const auto getApiBase = reinterpret_cast<GetApiBase>(dlsym(library, "OrtGetApiBase"));
    if (getApiBase == nullptr) throw std::runtime_error(dlerror());
    const OrtApi* api = getApiBase()->GetApi(kApiVersion);
    if (api == nullptr) throw std::runtime_error(std::string(path) + " is too old");
    Ort::InitApi(api);
    return getApiBase()->GetVersionString();
}

struct Usage {
    double wall = 0;     // seconds since some moment
    double cpu = 0;      // seconds of all threads, in the kernel too
    double peakMiB = 0;  // largest resident size so far
};

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

Usage Now() {
    const auto wall = std::chrono::steady_clock::now().time_since_epoch();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {std::chrono::duration<double>(wall).count(),
            Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

// A picture of some detail; its content does not matter for the time.
std::vector<float> Picture() {
    std::vector<float> values(std::size_t{3} * 1536 * 1536);
    std::uint32_t state = 1;
    for (float& value : values) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<float>(state >> 8U) / static_cast<float>(1U << 24U);
    }
    return values;
}

void RequireFinite(const Ort::Value& output) {
    const std::size_t count = output.GetTensorTypeAndShapeInfo().GetElementCount();
    const auto* values = output.GetTensorData<float>();
    const auto isFinite = [](float value) { return std::isfinite(value); };
    if (count == 0 || !std::all_of(values, values + count, isFinite)) {
        throw std::runtime_error("the network's output is not all numbers");
    }
}

std::vector<Ort::Value> Run(Ort::Session& session, std::vector<float>& picture) {
    constexpr std::array<std::int64_t, 4> kImageShape = {1, 3, 1536, 1536};
    constexpr std::array<std::int64_t, 1> kDisparityShape = {1};
    const auto memory = Ort::MemoryInfo::CreateCpu(OrtArenaAllocator, OrtMemTypeDefault);
    float disparity = 1.0F;
    std::array<Ort::Value, 2> inputs = {
        Ort::Value::CreateTensor<float>(memory, picture.data(), picture.size(), kImageShape.data(),
                                        kImageShape.size()),
        Ort::Value::CreateTensor<float>(memory, &disparity, 1, kDisparityShape.data(),
                                        kDisparityShape.size())};
    const std::array<const char*, 2> inputNames = {"image", "disparity_factor"};
    const char* outputName = "gaussians";
    return session.Run(Ort::RunOptions{nullptr}, inputNames.data(), inputs.data(), inputs.size(),
                       &outputName, 1);
}

void Measure(const char* library, const char* model) {
    const std::string version = LoadOnnxRuntime(library);
    std::vector<float> picture = Picture();
    const Ort::Env environment(ORT_LOGGING_LEVEL_ERROR, "onnxruntime_session");
    Ort::SessionOptions options;
    options.SetIntraOpNumThreads(static_cast<int>(std::thread::hardware_concurrency()));
    options.SetGraphOptimizationLevel(ORT_ENABLE_ALL);

    const Usage start = Now();
    Ort::Session session(environment, model, options);
    const Usage created = Now();
    const std::vector<Ort::Value> outputs = Run(session, picture);
    const Usage ran = Now();
    RequireFinite(outputs.front());
    std::printf(
        "{\"version\": \"%s\", \"create\": %.3f, \"createCpu\": %.3f, \"createPeak\": %.0f, "
        "\"run\": %.3f, \"runCpu\": %.3f, \"peak\": %.0f}\n",
        version.c_str(), created.wall - start.wall, created.cpu - start.cpu, created.peakMiB,
        ran.wall - created.wall, ran.cpu - created.cpu, ran.peakMiB);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: onnxruntime_session LIBRARY MODEL\n", stderr);
        return 2;
    }
    try {
        Measure(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "onnxruntime_session: %s\n", error.what());
        return 1;
    }
    return 0;
}
