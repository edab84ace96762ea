// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/icc_conversion.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "photos/matrix_conversion.h"

namespace vistrel {
namespace {

constexpr cmsUInt32Number kIntent = INTENT_PERCEPTUAL;
// Without its cache a transform may be used by several threads.
constexpr cmsUInt32Number kFlags = cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE;

struct CloseProfile {
    void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

struct DeleteTransform {
    void operator()(void* transform) const noexcept { cmsDeleteTransform(transform); }
};
using Transform = std::unique_ptr<void, DeleteTransform>;

struct FreeCurve {
    void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};
using Curve = std::unique_ptr<cmsToneCurve, FreeCurve>;

// The library's state of its own for one conversion, whose complaints nobody hears.
class Context {
  public:
    Context() : context_(cmsCreateContext(nullptr, nullptr)) {}
    ~Context() { cmsDeleteContext(context_); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    [[nodiscard]] cmsContext Get() const { return context_; }

  private:
    cmsContext context_;
};

Profile MakeProfile(const Context& context, const Chromaticities& numbers,
                    const LightCurve& curve) {
    // Type 4 is this very formula, which cannot be turned round where nothing is straight in it.
    const cmsFloat64Number parameters[] = {curve.gamma, curve.a, curve.b, curve.c, curve.d};
    const bool isPower = curve.a == 1 && curve.b == 0 && curve.d == 0;
    const Curve built(isPower ? cmsBuildGamma(context.Get(), curve.gamma)
                              : cmsBuildParametricToneCurve(context.Get(), 4, parameters));
    if (!built) return nullptr;
    const cmsCIExyY white = {numbers[0], numbers[1], 1};
    const cmsCIExyYTRIPLE primaries = {
        {numbers[2], numbers[3], 1}, {numbers[4], numbers[5], 1}, {numbers[6], numbers[7], 1}};
    cmsToneCurve* const curves[] = {built.get(), built.get(), built.get()};
    return Profile(cmsCreateRGBProfileTHR(context.Get(), &white, &primaries, curves));
}

Transform MakeTransform(const Context& context, const Profile& from, cmsUInt32Number fromFormat,
                        const Profile& to, cmsUInt32Number toFormat, cmsUInt32Number flags = 0) {
    if (!from || !to) return nullptr;
    return Transform(cmsCreateTransformTHR(context.Get(), from.get(), fromFormat, to.get(),
                                           toFormat, kIntent, kFlags | flags));
}

Transform ToSrgb(const Context& context, const Profile& from, cmsUInt32Number fromFormat,
                 cmsUInt32Number toFormat, cmsUInt32Number flags = 0) {
    return MakeTransform(context, from, fromFormat,
                         Profile(cmsCreate_sRGBProfileTHR(context.Get())), toFormat, flags);
}

// What the library needs as long as it converts.
struct Lasting {
    Context context;
    Transform transform;  // goes first
};

void CarryAlpha(SampleFormat format, const std::byte* samples, std::uint8_t* pixels,
                std::size_t count) {
    if (format == SampleFormat::Bytes) {
        const auto* from = reinterpret_cast<const std::uint8_t*>(samples);
        for (std::size_t i = 3; i < kPixelBytes * count; i += kPixelBytes) pixels[i] = from[i];
    } else {
        const auto* from = reinterpret_cast<const std::uint16_t*>(samples);
        for (std::size_t i = 3; i < kPixelBytes * count; i += kPixelBytes) {
            pixels[i] = static_cast<std::uint8_t>(from[i] >> 8);
        }
    }
}

// Samples with which conversions are compared: greys, and a grid of colours.
class Probes {
  public:
    explicit Probes(SampleFormat format) {
        for (int grey = 0; grey < 256; ++grey) Add(grey, grey, grey);
        constexpr int kStep = 32;
        const auto level = [](int i) { return std::min(255, i); };
        for (int red = 0; red <= 256; red += kStep) {
            for (int green = 0; green <= 256; green += kStep) {
                for (int blue = 0; blue <= 256; blue += kStep) {
                    Add(level(red), level(green), level(blue));
                }
            }
        }
        if (format == SampleFormat::Words) {
            for (const std::uint8_t byte : bytes_) {
                words_.push_back(static_cast<std::uint16_t>(byte * 257));
            }
        }
    }

    [[nodiscard]] const std::byte* Samples() const {
        return words_.empty() ? reinterpret_cast<const std::byte*>(bytes_.data())
                              : reinterpret_cast<const std::byte*>(words_.data());
    }

    [[nodiscard]] std::vector<std::uint8_t> By(const PixelConversion& conversion) const {
        std::vector<std::uint8_t> pixels(bytes_.size());
        conversion(Samples(), pixels.data(), bytes_.size() / kPixelBytes);
        return pixels;
    }

    [[nodiscard]] const std::vector<std::uint8_t>& Unconverted() const { return bytes_; }

  private:
    void Add(int red, int green, int blue) {
        for (const int sample : {red, green, blue, 255}) {
            bytes_.push_back(static_cast<std::uint8_t>(sample));
        }
    }

    std::vector<std::uint8_t> bytes_;
    std::vector<std::uint16_t> words_;
};

bool AreNearlySame(const std::vector<std::uint8_t>& some, const std::vector<std::uint8_t>& others) {
    return std::ranges::equal(some, others, [](int a, int b) { return std::abs(a - b) <= 1; });
}

using Light = std::array<float, 3>;

// What lights of sRGB the samples of one channel make, alone and from 0 to the greatest.
std::vector<Light> LightsOfChannel(const Transform& toLight, std::size_t channel,
                                   std::size_t entries) {
    std::vector<Light> samples(entries);
    for (std::size_t i = 0; i < entries; ++i) {
        samples[i][channel] = static_cast<float>(i) / static_cast<float>(entries - 1);
    }
    std::vector<Light> lights(entries);
    cmsDoTransform(toLight.get(), samples.data(), lights.data(),
                   static_cast<cmsUInt32Number>(entries));
    return lights;
}

// The curves and the matrix that the profile would have, if it is of that kind.
MatrixColours MeasureMatrix(const Transform& toLight, std::size_t entries) {
    MatrixColours colours;
    for (std::size_t from = 0; from < 3; ++from) {
        const std::vector<Light> lights = LightsOfChannel(toLight, from, entries);
        const Light& full = lights.back();
        const auto strongest = static_cast<std::size_t>(
            std::ranges::max_element(full, {}, [](float light) { return std::abs(light); }) -
            full.begin());
        for (std::size_t to = 0; to < 3; ++to) colours.matrix[to][from] = full[to];
        colours.curves[from].reserve(entries);
        for (const Light& light : lights) {
            colours.curves[from].push_back(light[strongest] / full[strongest]);
        }
    }
    return colours;
}

MatrixColours MeasureMatrix(const Context& context, const Profile& profile, SampleFormat format) {
    constexpr std::size_t kByteEntries = 256;
    const Transform toLight = MakeTransform(context, profile, TYPE_RGB_FLT,
                                            MakeProfile(context, kSrgbChromaticities, LightCurve()),
                                            TYPE_RGB_FLT, cmsFLAGS_NOOPTIMIZE);
    if (!toLight) return {};
    return MeasureMatrix(toLight, format == SampleFormat::Bytes ? kByteEntries : kWordEntries);
}

PixelConversion ByLibrary(const std::shared_ptr<Lasting>& lasting, SampleFormat format) {
    return [lasting, format](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
        cmsDoTransform(lasting->transform.get(), samples, pixels,
                       static_cast<cmsUInt32Number>(count));
        CarryAlpha(format, samples, pixels, count);
    };
}

PixelConversion RgbConversion(const std::shared_ptr<Lasting>& lasting, const Profile& profile,
                              SampleFormat format) {
    const cmsUInt32Number fromFormat = format == SampleFormat::Bytes ? TYPE_RGBA_8 : TYPE_RGBA_16;
    const Probes probes(format);
    lasting->transform =
        ToSrgb(lasting->context, profile, fromFormat, TYPE_RGBA_8, cmsFLAGS_NOOPTIMIZE);
    if (!lasting->transform) return {};
    const std::vector<std::uint8_t> expected = probes.By(ByLibrary(lasting, format));
    if (AreNearlySame(expected, probes.Unconverted())) return {};

    // The library takes several times as long as a JPEG's decoding, and 16 bits it interpolates in
    // a coarse grid. Where curves and a matrix give what it gives when it takes its time, ours do
    // it.
    const PixelConversion fast =
        MakeMatrixConversion(MeasureMatrix(lasting->context, profile, format), format);
    if (fast && AreNearlySame(expected, probes.By(fast))) return fast;
    lasting->transform = ToSrgb(lasting->context, profile, fromFormat, TYPE_RGBA_8);
    return lasting->transform ? ByLibrary(lasting, format) : PixelConversion();
}

template <typename Sample>
bool IsGrey(const DecodedPhoto& photo) {
    const auto* samples = reinterpret_cast<const Sample*>(photo.samples.get());
    const std::size_t count =
        static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height);
    for (std::size_t i = 0; i < kPixelBytes * count; i += kPixelBytes) {
        if (samples[i] != samples[i + 1] || samples[i] != samples[i + 2]) return false;
    }
    return true;
}

struct SrgbColour {
    std::uint8_t red, green, blue;
};

// One look-up in what the library makes of every grey.
template <typename Sample>
PixelConversion GreyConversion(const Context& context, const Profile& profile,
                               cmsUInt32Number format) {
    const Transform transform = ToSrgb(context, profile, format, TYPE_RGB_8);
    if (!transform) return {};
    std::vector<Sample> greys(std::size_t{1} << (8 * sizeof(Sample)));
    for (std::size_t i = 0; i < greys.size(); ++i) greys[i] = static_cast<Sample>(i);
    std::vector<SrgbColour> colours(greys.size());
    cmsDoTransform(transform.get(), greys.data(), colours.data(),
                   static_cast<cmsUInt32Number>(greys.size()));
    return [colours = std::move(colours)](const std::byte* from, std::uint8_t* pixels,
                                          std::size_t count) {
        const auto* samples = reinterpret_cast<const Sample*>(from);
        for (std::size_t i = 0; i < count; ++i, samples += kPixelBytes, pixels += kPixelBytes) {
            const SrgbColour colour = colours[samples[0]];
            pixels[3] = static_cast<std::uint8_t>(samples[3] >> (8 * (sizeof(Sample) - 1)));
            pixels[0] = colour.red;
            pixels[1] = colour.green;
            pixels[2] = colour.blue;
        }
    };
}

PixelConversion CmykConversion(const std::shared_ptr<Lasting>& lasting, const Profile& profile,
                               SampleFormat format) {
    lasting->transform =
        ToSrgb(lasting->context, profile,
               format == SampleFormat::Bytes ? TYPE_CMYK_8 : TYPE_CMYK_16, TYPE_RGBA_8);
    if (!lasting->transform) return {};
    return [lasting](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
        cmsDoTransform(lasting->transform.get(), samples, pixels,
                       static_cast<cmsUInt32Number>(count));
        for (std::size_t i = 3; i < kPixelBytes * count; i += kPixelBytes) pixels[i] = 255;
    };
}

// Four letters of a profile's head. The library would hand them out as a value of an enumeration
// that need not have it.
std::uint32_t Letters(std::span<const std::byte> profile, std::size_t position) {
    std::uint32_t letters = 0;
    for (std::size_t i = position; i < position + 4; ++i) {
        letters = (letters << 8) | std::to_integer<std::uint32_t>(profile[i]);
    }
    return letters;
}

bool IsOfDevice(std::span<const std::byte> profile) {
    const std::uint32_t kind = Letters(profile, 12);
    return kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass ||
           kind == cmsSigColorSpaceClass;
}

}  // namespace

PixelConversion ConversionByProfile(std::span<const std::byte> bytes, const DecodedPhoto& photo) {
    constexpr std::size_t kHead = 128;
    if (bytes.size() < kHead || !IsOfDevice(bytes)) return {};
    const auto lasting = std::make_shared<Lasting>();
    const Profile profile(cmsOpenProfileFromMemTHR(lasting->context.Get(), bytes.data(),
                                                   static_cast<cmsUInt32Number>(bytes.size())));
    if (!profile) return {};
    const bool ofBytes = photo.format == SampleFormat::Bytes;
    const std::uint32_t space = Letters(bytes, 16);
    if (photo.model == ColourModel::Cmyk) {
        return space == cmsSigCmykData ? CmykConversion(lasting, profile, photo.format)
                                       : PixelConversion();
    }
    if (space == cmsSigRgbData) return RgbConversion(lasting, profile, photo.format);
    if (space != cmsSigGrayData) return {};
    if (ofBytes) {
        return IsGrey<std::uint8_t>(photo)
                   ? GreyConversion<std::uint8_t>(lasting->context, profile, TYPE_GRAY_8)
                   : PixelConversion();
    }
    return IsGrey<std::uint16_t>(photo)
               ? GreyConversion<std::uint16_t>(lasting->context, profile, TYPE_GRAY_16)
               : PixelConversion();
}

PixelConversion ConversionByPrimaries(const Chromaticities& chromaticities, const LightCurve& curve,
                                      SampleFormat format) {
    const auto lasting = std::make_shared<Lasting>();
    const Profile profile = MakeProfile(lasting->context, chromaticities, curve);
    return profile ? RgbConversion(lasting, profile, format) : PixelConversion();
}

std::optional<LightMatrix> LightMatrixToSrgb(const Chromaticities& chromaticities) {
    const Context context;
    const Profile linear = MakeProfile(context, chromaticities, LightCurve());
    const Transform toLight = MakeTransform(context, linear, TYPE_RGB_FLT,
                                            MakeProfile(context, kSrgbChromaticities, LightCurve()),
                                            TYPE_RGB_FLT, cmsFLAGS_NOOPTIMIZE);
    if (!toLight) return std::nullopt;
    LightMatrix matrix;
    for (std::size_t from = 0; from < 3; ++from) {
        const Light full = LightsOfChannel(toLight, from, 2).back();
        for (std::size_t to = 0; to < 3; ++to) matrix.rows[to][from] = full[to];
    }
    return matrix;
}

}  // namespace vistrel
