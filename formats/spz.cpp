// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/spz.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/workers.h"
#include "formats/deflate.h"
#include "formats/spz_attributes.h"
#include "formats/zstd_frames.h"

namespace vistrel {
namespace {

constexpr std::string_view kSpzMagic = "NGSP";
constexpr std::size_t kShortHeader = 16;  // of versions 1 to 3
constexpr std::size_t kLongHeader = 32;
constexpr std::size_t kVersionPlace = 4;
constexpr std::size_t kCountPlace = 8;
constexpr std::size_t kDegreePlace = 12;
constexpr std::size_t kFractionalBitsPlace = 13;
constexpr std::size_t kFlagsPlace = 14;
constexpr std::size_t kStreamsPlace = 15;
constexpr std::size_t kContentsPlace = 16;
constexpr std::size_t kContentsRecord = 16;
constexpr unsigned kHasExtensions = 2;
constexpr std::size_t kLookedAt = std::size_t{1} << 16;  // before it is certain what the file is
constexpr unsigned kMostReadFractionalBits = 31;

constexpr std::uint32_t kAxesExtension = 0xADBE0003;
constexpr std::size_t kExtensionHeader = 8;
constexpr std::size_t kMostExtensions = std::size_t{1} << 20;

// What deflate can unpack from a byte, at the most. Frames of Zstandard could hold far more in a
// byte, but no scene of different Gaussians does.
constexpr std::size_t kMostUnpacked = 1032;
constexpr std::size_t kAlwaysUnpacked = std::size_t{1} << 24;

constexpr std::size_t kEncodedAtOnce = std::size_t{1} << 14;

constexpr AxisSigns kRightUpBack = {1.0F, -1.0F, -1.0F};

using SpzBytes = std::span<const std::byte>;

template <typename T>
T SpzNumberAt(SpzBytes bytes, std::size_t place) {
    T number = 0;
    std::memcpy(&number, bytes.data() + place, sizeof(T));
    return number;
}

template <typename T>
void PutSpzNumber(T number, std::size_t place, std::span<std::byte> bytes) {
    std::memcpy(bytes.data() + place, &number, sizeof(T));
}

unsigned SpzByteAt(SpzBytes bytes, std::size_t place) {
    return std::to_integer<unsigned>(bytes[place]);
}

bool BeginsAsSpz(SpzBytes bytes) {
    return bytes.size() >= kSpzMagic.size() &&
           std::memcmp(bytes.data(), kSpzMagic.data(), kSpzMagic.size()) == 0;
}

std::size_t SpzRecordBytes(const SpzFacts& facts) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    return std::accumulate(sizes.begin(), sizes.end(), std::size_t{0});
}

// `packed` is the size of the file.
SpzFacts ParseSpzHeader(SpzBytes header, std::size_t packed, SpzFrame frame) {
    SpzFacts facts;
    const auto version = SpzNumberAt<std::uint32_t>(header, kVersionPlace);
    const unsigned degree = SpzByteAt(header, kDegreePlace);
    const unsigned fractionalBits = SpzByteAt(header, kFractionalBitsPlace);
    facts.count = SpzNumberAt<std::uint32_t>(header, kCountPlace);
    if (version < 1 || version > 4) {
        throw std::runtime_error("it is of version " + std::to_string(version) +
                                 " of SPZ, and 1 to 4 are known");
    }
    if (degree > kMostHarmonicsDegree) {
        throw std::runtime_error("it has harmonics of degree " + std::to_string(degree) +
                                 ", more than " + std::to_string(kMostHarmonicsDegree));
    }
    if (fractionalBits > kMostReadFractionalBits) {
        throw std::runtime_error("its positions have more fractional bits than bits");
    }
    facts.version = static_cast<int>(version);
    facts.degree = static_cast<int>(degree);
    facts.fractionalBits = static_cast<int>(fractionalBits);
    if (frame == SpzFrame::RightUpBack) facts.axes = kRightUpBack;
    if (facts.count == 0) throw std::runtime_error("it holds no Gaussians");
    const std::size_t most = std::max(kAlwaysUnpacked, packed * kMostUnpacked);
    if (facts.count > kMostGaussians || facts.count > most / SpzRecordBytes(facts)) {
        throw std::runtime_error("it claims " + std::to_string(facts.count) +
                                 " Gaussians, more than a file of its size holds");
    }
    return facts;
}

AxisSigns AxesOf(std::uint32_t value, const AxisSigns& unspecified) {
    if (value == 0) return unspecified;
    if (value > 8) throw std::runtime_error("it lies in a frame that is not supported");
    const std::uint32_t bits = value - 1;
    return {(bits & 1) != 0 ? 1.0F : -1.0F, (bits & 2) != 0 ? -1.0F : 1.0F,
            (bits & 4) != 0 ? 1.0F : -1.0F};
}

void ReadExtensions(SpzBytes extensions, SpzFacts& facts) {
    while (extensions.size() >= kExtensionHeader) {
        const auto type = SpzNumberAt<std::uint32_t>(extensions, 0);
        const auto length = SpzNumberAt<std::uint32_t>(extensions, 4);
        extensions = extensions.subspan(kExtensionHeader);
        if (length > extensions.size()) throw std::runtime_error("an extension is cut short");
        if (type == kAxesExtension && length == 4) {
            facts.axes = AxesOf(SpzNumberAt<std::uint32_t>(extensions, 0), facts.axes);
        }
        extensions = extensions.subspan(length);
    }
}

void DeliverSpz(const SpzFacts& facts, const SpzPlaces<const std::byte>& places,
                const SceneInput& input, SceneSink& sink) {
    DeliverPieces({facts.count, facts.degree, {}}, sink, input.threads,
                  [&](std::size_t first, std::size_t count, float* rows) {
                      DecodeSpz(facts, places, first, count, kScenePiece, rows);
                  });
}

// Of attributes one behind the other.
template <typename Byte>
SpzPlaces<Byte> JoinedPlaces(const SpzFacts& facts, Byte* place) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    SpzPlaces<Byte> places;
    for (std::size_t i = 0; i < kSpzAttributes; ++i) {
        places[i] = place;
        place += sizes[i] * facts.count;
    }
    return places;
}

void ReadGzipped(SpzBytes content, SpzFacts facts, bool hasExtensions, const SceneInput& input,
                 SceneSink& sink) {
    const std::size_t scene = kShortHeader + facts.count * SpzRecordBytes(facts);
    const std::vector<std::byte> unpacked =
        UnpackGzip(content, scene, scene + (hasExtensions ? kMostExtensions : 0));
    ReadExtensions(std::span(unpacked).subspan(scene), facts);
    DeliverSpz(facts, JoinedPlaces(facts, unpacked.data() + kShortHeader), input, sink);
}

// The frames of a file of version 4.
std::array<SpzBytes, kSpzAttributes> FindStreams(SpzBytes content, const SpzFacts& facts) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    const std::size_t streams = SpzByteAt(content, kStreamsPlace);
    const std::size_t table = SpzNumberAt<std::uint32_t>(content, kContentsPlace);
    const bool isKnown =
        streams == kSpzAttributes || (streams == kSpzAttributes - 1 && facts.degree == 0);
    if (!isKnown) throw std::runtime_error("it has another number of streams than it needs");
    if (table < kLongHeader || table + streams * kContentsRecord > content.size()) {
        throw std::runtime_error("its table of contents lies outside");
    }
    SpzBytes rest = content.subspan(table + streams * kContentsRecord);
    std::array<SpzBytes, kSpzAttributes> found;
    for (std::size_t i = 0; i < streams; ++i) {
        const std::size_t record = table + i * kContentsRecord;
        const auto packed = SpzNumberAt<std::uint64_t>(content, record);
        if (packed > rest.size()) throw std::runtime_error("it is cut short");
        if (SpzNumberAt<std::uint64_t>(content, record + 8) != sizes[i] * facts.count) {
            throw std::runtime_error("a stream has another size than it claims");
        }
        found[i] = rest.first(packed);
        rest = rest.subspan(packed);
    }
    if (!rest.empty()) throw std::runtime_error("it goes on behind its end");
    return found;
}

void ReadStreams(SpzBytes content, SpzFacts facts, const SceneInput& input, SceneSink& sink) {
    const std::array<SpzBytes, kSpzAttributes> streams = FindStreams(content, facts);
    if ((SpzByteAt(content, kFlagsPlace) & kHasExtensions) != 0) {
        const auto table = SpzNumberAt<std::uint32_t>(content, kContentsPlace);
        ReadExtensions(content.first(table).subspan(kLongHeader), facts);
    }
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    std::array<std::vector<std::byte>, kSpzAttributes> unpacked;
    SpzPlaces<const std::byte> places = {};
    Workers(input.threads).Run(kSpzAttributes, [&](std::size_t i, int) {
        if (sizes[i] > 0) unpacked[i] = UnpackZstd(streams[i], sizes[i] * facts.count);
        places[i] = unpacked[i].data();
    });
    DeliverSpz(facts, places, input, sink);
}

std::array<std::byte, kLongHeader> SpzHeader(const SpzFacts& facts) {
    std::array<std::byte, kLongHeader> header = {};
    std::memcpy(header.data(), kSpzMagic.data(), kSpzMagic.size());
    PutSpzNumber(static_cast<std::uint32_t>(facts.version), kVersionPlace, header);
    PutSpzNumber(static_cast<std::uint32_t>(facts.count), kCountPlace, header);
    PutSpzNumber(static_cast<std::uint8_t>(facts.degree), kDegreePlace, header);
    PutSpzNumber(static_cast<std::uint8_t>(facts.fractionalBits), kFractionalBitsPlace, header);
    return header;
}

// The attributes one behind the other, behind `start` bytes for a header.
std::vector<std::byte> EncodedSpz(const RawScene& scene, const SpzFacts& facts, std::size_t start,
                                  Workers& workers) {
    std::vector<std::byte> encoded(start + facts.count * SpzRecordBytes(facts));
    const SpzPlaces<std::byte> places = JoinedPlaces(facts, encoded.data() + start);
    const std::size_t pieces = (facts.count + kEncodedAtOnce - 1) / kEncodedAtOnce;
    workers.Run(pieces, [&](std::size_t piece, int) {
        const std::size_t first = piece * kEncodedAtOnce;
        EncodeSpz(scene, facts, places, first, std::min(kEncodedAtOnce, facts.count - first));
    });
    return encoded;
}

void WriteStreams(const RawScene& scene, const SpzFacts& facts, int threads, ByteSink& sink) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    const std::size_t streams = facts.degree == 0 ? kSpzAttributes - 1 : kSpzAttributes;
    Workers workers(threads);
    const std::vector<std::byte> encoded = EncodedSpz(scene, facts, 0, workers);
    const SpzPlaces<const std::byte> places = JoinedPlaces(facts, encoded.data());
    std::array<std::vector<std::byte>, kSpzAttributes> packed;
    workers.Run(streams, [&](std::size_t i, int) {
        packed[i] = PackZstd({places[i], sizes[i] * facts.count});
    });
    std::array<std::byte, kLongHeader> header = SpzHeader(facts);
    PutSpzNumber(static_cast<std::uint8_t>(streams), kStreamsPlace, header);
    PutSpzNumber(static_cast<std::uint32_t>(kLongHeader), kContentsPlace, header);
    sink.Append(header);
    for (std::size_t i = 0; i < streams; ++i) {
        std::array<std::byte, kContentsRecord> record;
        PutSpzNumber<std::uint64_t>(packed[i].size(), 0, record);
        PutSpzNumber<std::uint64_t>(sizes[i] * facts.count, 8, record);
        sink.Append(record);
    }
    for (const std::vector<std::byte>& stream : packed) sink.Append(stream);
}

void WriteGzipped(const RawScene& scene, const SpzFacts& facts, int threads, ByteSink& sink) {
    std::vector<std::byte> content;
    {
        Workers workers(threads);
        content = EncodedSpz(scene, facts, kShortHeader, workers);
    }
    const std::array<std::byte, kLongHeader> header = SpzHeader(facts);
    std::copy_n(header.begin(), kShortHeader, content.begin());
    PackGzip(content, threads, sink);
}

}  // namespace

bool ReadSpz(const SceneInput& input, SceneSink& sink) {
    std::vector<std::byte> content(std::min<std::uint64_t>(input.file.Size(), kLookedAt));
    input.file.Read(0, content);
    const bool isPlain = BeginsAsSpz(content);
    std::vector<std::byte> header;
    if (!isPlain) {
        if (!IsGzip(content)) return false;
        header = UnpackGzipStart(content, kShortHeader);
        if (!BeginsAsSpz(header)) return false;
    }
    content.resize(input.file.Size());
    input.file.Read(0, content);
    if (isPlain) {
        if (content.size() < kLongHeader) throw std::runtime_error("it is cut short");
        const SpzFacts facts = ParseSpzHeader(content, content.size(), input.spzFrame);
        if (facts.version < 4) throw std::runtime_error("it is not compressed as its version is");
        ReadStreams(content, facts, input, sink);
        return true;
    }
    if (header.size() < kShortHeader) throw std::runtime_error("it is cut short");
    const SpzFacts facts = ParseSpzHeader(header, content.size(), input.spzFrame);
    if (facts.version > 3) throw std::runtime_error("it is not compressed as its version is");
    ReadGzipped(content, facts, (SpzByteAt(header, kFlagsPlace) & kHasExtensions) != 0, input,
                sink);
    return true;
}

void WriteSpz(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    SpzFacts facts;
    facts.version = options.spzVersion;
    facts.count = scene.Count();
    facts.degree = scene.Degree();
    facts.fractionalBits = SuitableFractionalBits(scene);
    if (options.spzFrame == SpzFrame::RightUpBack) facts.axes = kRightUpBack;
    if (facts.version == 3) {
        WriteGzipped(scene, facts, options.threads, sink);
    } else {
        WriteStreams(scene, facts, options.threads, sink);
    }
}

}  // namespace vistrel
