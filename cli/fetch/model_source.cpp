// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/model_source.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "download/http_values.h"

namespace vistrel {
namespace {

// Without the blanks and line ends around it; empty where it is not set.
std::string Variable(const char* name) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const char* const value = std::getenv(name);
    std::string_view text = value != nullptr ? value : "";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    return std::string(text);
}

// A header takes no other.
std::string TokenOfTheUser() {
    std::string token = Variable("HF_TOKEN");
    const bool isPlain =
        std::ranges::all_of(token, [](char letter) { return letter > ' ' && letter <= '~'; });
    if (!isPlain) throw std::runtime_error("HF_TOKEN holds something that no token can hold");
    return token;
}

}  // namespace

FileSource ModelSource(const ModelFetchOptions& options) {
    std::string hub = Variable("HF_ENDPOINT");
    while (hub.ends_with('/')) hub.pop_back();
    const std::string ownHub = OriginOf(kModelUrl);
    if (hub.empty()) hub = ownHub;
    if (OriginOf(hub).empty()) {
        throw std::runtime_error("HF_ENDPOINT is no address of the web: " + hub);
    }
    FileSource source;
    source.url = options.fromHub ? hub + std::string(kModelUrl).substr(ownHub.size()) : options.url;
    source.token = TokenOfTheUser();
    source.tokenOrigin = OriginOf(hub);
    source.http.authorities = Variable("SSL_CERT_FILE");
    return source;
}

std::string FileNameIn(const std::string& url) {
    const std::string address = url.substr(0, url.find_first_of("?#"));
    const std::string path = address.substr(OriginOf(address).size());
    const std::string name = path.substr(path.rfind('/') + 1);
    const bool isName = !name.empty() && name != "." && name != "..";
    return isName ? name : ToPath(ModelFile()).filename().native();
}

}  // namespace vistrel
