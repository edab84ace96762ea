// SPDX-License-Identifier: GPL-3.0-or-later
// A library that looks like ONNX Runtime until something is computed: it tells its version and
// lists its providers.
#include <onnxruntime_c_api.h>

#include <cstdint>

namespace {

char cpu[] = "CPUExecutionProvider";
[[maybe_unused]] char cuda[] = "CUDAExecutionProvider";
#ifdef WITH_CUDA
char* providers[] = {cuda, cpu};
#else
char* providers[] = {cpu};
#endif

OrtStatus* List(char*** names, int* count) noexcept {
    *names = providers;
    *count = sizeof(providers) / sizeof(providers[0]);
    return nullptr;
}
OrtStatus* Release(char** /*names*/, int /*count*/) noexcept {
    return nullptr;
}

// Nobody looks into these.
int nothing = 0;

OrtStatus* MakeEnvironment(OrtLoggingLevel /*level*/, const char* /*name*/,
                           OrtEnv** made) noexcept {
    *made = reinterpret_cast<OrtEnv*>(&nothing);
    return nullptr;
}
OrtStatus* TakeLanguage(const OrtEnv* /*environment*/,
                        OrtLanguageProjection /*language*/) noexcept {
    return nullptr;
}
OrtStatus* MakeOptions(OrtSessionOptions** made) noexcept {
    *made = reinterpret_cast<OrtSessionOptions*>(&nothing);
    return nullptr;
}
void FreeOptions(OrtSessionOptions* /*options*/) noexcept {}
OrtStatus* OpenCuda(OrtSessionOptions* /*options*/,
                    const OrtCUDAProviderOptions* /*settings*/) noexcept {
    return nullptr;
}

const OrtApi* Api(std::uint32_t version) noexcept {
    static const OrtApi api = [] {
        OrtApi table = {};
        table.GetAvailableProviders = List;
        table.ReleaseAvailableProviders = Release;
        table.CreateEnv = MakeEnvironment;
        table.SetLanguageProjection = TakeLanguage;
        table.CreateSessionOptions = MakeOptions;
        table.ReleaseSessionOptions = FreeOptions;
        table.SessionOptionsAppendExecutionProvider_CUDA = OpenCuda;
        return table;
    }();
    return version <= NEWEST_API ? &api : nullptr;
}

const char* Version() noexcept {
    return VERSION;
}

}  // namespace

const OrtApiBase* OrtGetApiBase() noexcept {
    static constexpr OrtApiBase kBase = {Api, Version};
    return &kBase;
}
