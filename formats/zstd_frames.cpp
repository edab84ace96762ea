// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/zstd_frames.h"

#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

namespace vistrel {
namespace {

constexpr int kZstdLevel = 9;  // within half a percent of 12, in half the time
constexpr std::size_t kLeastZstdRoom = std::size_t{1} << 16;

struct FreeZstdUnpacker {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

struct FreeZstdPacker {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

}  // namespace

std::vector<std::byte> UnpackZstd(std::span<const std::byte> content, std::size_t bytes) {
    const std::unique_ptr<ZSTD_DCtx, FreeZstdUnpacker> unpacker(ZSTD_createDCtx());
    if (!unpacker) throw std::bad_alloc();
    const unsigned long long claim = ZSTD_getFrameContentSize(content.data(), content.size());
    if (claim < ZSTD_CONTENTSIZE_ERROR && claim != bytes) {
        throw std::runtime_error("a stream has another size than it claims");
    }
    // What needs more room than this shows by failing that it is more than a claim, and is unpacked
    // again.
    std::size_t room = std::max(kLeastZstdRoom, 16 * content.size());
    for (;;) {
        room = std::min(room, bytes);
        std::vector<std::byte> unpacked(room);
        const std::size_t size = ZSTD_decompressDCtx(unpacker.get(), unpacked.data(), room,
                                                     content.data(), content.size());
        if (ZSTD_isError(size) == 0) {
            if (size == bytes) return unpacked;
            throw std::runtime_error("a stream has another size than it claims");
        }
        if (ZSTD_getErrorCode(size) != ZSTD_error_dstSize_tooSmall || room == bytes) {
            throw std::runtime_error("its compressed data are damaged");
        }
        room *= 8;
    }
}

std::vector<std::byte> PackZstd(std::span<const std::byte> content) {
    const std::unique_ptr<ZSTD_CCtx, FreeZstdPacker> packer(ZSTD_createCCtx());
    std::vector<std::byte> packed(ZSTD_compressBound(content.size()));
    if (!packer) throw std::bad_alloc();
    const std::size_t size = ZSTD_compressCCtx(packer.get(), packed.data(), packed.size(),
                                               content.data(), content.size(), kZstdLevel);
    if (ZSTD_isError(size) != 0) throw std::bad_alloc();  // all else is excluded
    packed.resize(size);
    return packed;
}

}  // namespace vistrel
