// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/page_filling.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "base/text_encoding.h"
#include "cli/share/base64.h"

namespace vistrel {
namespace {

constexpr std::array<std::string_view, 4> kPlaceNames = {
    "(the scene's title)", "(the scene's poster)", "(the scene's facts)", "(the scene's bytes)"};

// Text between tags: what is no UTF-8 and what HTML cannot hold becomes U+FFFD, line ends and other
// control characters blanks.
std::string HtmlText(std::string_view bytes) {
    constexpr wchar_t kReplacement = 0xFFFD;
    constexpr wchar_t kFirstByte = 0xDC80;  // see FromUtf8
    constexpr wchar_t kLastByte = 0xDCFF;
    const auto isControl = [](wchar_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); };
    std::wstring safe;
    for (const wchar_t c : FromUtf8(bytes)) {
        switch (c) {
            case L'&':
                safe += L"&amp;";
                break;
            case L'<':
                safe += L"&lt;";
                break;
            case L'>':
                safe += L"&gt;";
                break;
            default:
                safe += c >= kFirstByte && c <= kLastByte ? kReplacement : isControl(c) ? L' ' : c;
        }
    }
    return ToUtf8(safe);
}

// The shortest number that is the same float, as JSON has it.
std::string JsonNumber(float value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

std::string JsonOf(const PhotographCamera& camera) {
    return "{\"focalX\":" + JsonNumber(camera.focalX) + ",\"focalY\":" + JsonNumber(camera.focalY) +
           ",\"centreX\":" + JsonNumber(camera.centreX) +
           ",\"centreY\":" + JsonNumber(camera.centreY) +
           ",\"width\":" + std::to_string(camera.width) +
           ",\"height\":" + std::to_string(camera.height) + '}';
}

// The middle is the depth from which the nearest and the farthest move as far in the picture.
std::string JsonOf(const DepthRange& depths) {
    const float middle = 2.0F / (1.0F / depths.nearest + 1.0F / depths.farthest);
    return "{\"nearest\":" + JsonNumber(depths.nearest) + ",\"middle\":" + JsonNumber(middle) +
           ",\"farthest\":" + JsonNumber(depths.farthest) + '}';
}

}  // namespace

PageFilling::PageFilling(std::string_view page, const PageContent& content)
    : title_(HtmlText(content.title)) {
    for (std::size_t i = 0; i < kPlaces; ++i) {
        const std::size_t at = page.find(kPlaceNames[i]);
        if (at == std::string_view::npos) throw std::logic_error("the page has not all its places");
        parts_[i] = page.substr(0, at);
        page.remove_prefix(at + kPlaceNames[i].size());
    }
    parts_[kPlaces] = page;
    if (!content.poster.empty()) {
        poster_ = "data:image/webp;base64,";
        AppendBase64(content.poster, poster_);
    }
    facts_ = "{\"camera\":" + (content.camera ? JsonOf(*content.camera) : "null") +
             ",\"depths\":" + (content.depths ? JsonOf(*content.depths) : "null") +
             ",\"free\":" + (content.isFree ? "true" : "false") + ",\"length\":";
}

std::string PageFilling::Facts(std::uint64_t sceneBytes) const {
    return facts_ + std::to_string(Base64Length(sceneBytes)) + '}';
}

std::uint64_t PageFilling::Size(std::uint64_t sceneBytes) const {
    std::uint64_t size = title_.size() + poster_.size() + Facts(sceneBytes).size();
    for (const std::string_view part : parts_) size += part.size();
    return size + Base64Length(sceneBytes);
}

std::uint64_t PageFilling::Room(std::uint64_t pageBytes) const {
    if (Size(0) > pageBytes) return 0;
    // The length of the facts grows with the scene, by some digits.
    std::uint64_t room = Base64Bytes(pageBytes - Size(0));
    while (room > 0 && Size(room) > pageBytes) --room;
    return room;
}

void PageFilling::Write(std::span<const std::byte> scene, ByteSink& sink) const {
    sink.Append(parts_[0]);
    sink.Append(title_);
    sink.Append(parts_[1]);
    sink.Append(poster_);
    sink.Append(parts_[2]);
    sink.Append(Facts(scene.size()));
    sink.Append(parts_[3]);
    constexpr std::size_t kPiece = std::size_t{48} << 10;  // a multiple of three
    std::string text;
    while (!scene.empty()) {
        const std::size_t bytes = std::min(kPiece, scene.size());
        text.clear();
        AppendBase64(scene.first(bytes), text);
        sink.Append(text);
        scene = scene.subspan(bytes);
    }
    sink.Append(parts_[kPlaces]);
}

}  // namespace vistrel
