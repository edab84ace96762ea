// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/http_request.h"

#include <dlfcn.h>

#include <filesystem>
#include <utility>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "download/http_module.h"

namespace vistrel {
namespace {

// Stands for a request where there is no library to make one.
class ImpossibleRequest : public HttpRequest {
  public:
    explicit ImpossibleRequest(std::string reason) : reason_(std::move(reason)) {}

    bool ParseUrl(const std::string& /*url*/) override { return true; }
    bool OpenSession() override { return false; }
    bool Connect() override { return false; }
    bool OpenRequest() override { return false; }
    bool Send(HttpReceiver& /*receiver*/) override { return false; }
    [[nodiscard]] HttpFailure Failure() const override { return {reason_, true}; }

  private:
    std::string reason_;
};

// Stays open: other threads may still use it when the process ends.
struct HttpModule {
    decltype(&VistrelMakeHttpRequest) make = nullptr;
    std::string reason{};  // why there is none
};

HttpModule OpenHttpModule() {
    const std::filesystem::path file = ToPath(ProgramFolder()) / kHttpModule;
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const make = module != nullptr ? dlsym(module, kHttpModuleFunction) : nullptr;
    if (make != nullptr) return {reinterpret_cast<decltype(&VistrelMakeHttpRequest)>(make)};
    const char* const reason = dlerror();
    return {nullptr, reason != nullptr ? reason : file.native()};
}

}  // namespace

std::unique_ptr<HttpRequest> MakeHttpRequest(const HttpSettings& settings) {
    static const HttpModule module = OpenHttpModule();
    if (module.make == nullptr) return std::make_unique<ImpossibleRequest>(module.reason);
    return std::unique_ptr<HttpRequest>(module.make(settings));
}

}  // namespace vistrel
