// SPDX-License-Identifier: GPL-3.0-or-later
//
// Packing a gzip file compresses blocks at the same time. Each block but the last ends in an empty
// stored block, which brings it to a whole byte, and each knows the bytes before it as its
// dictionary; so all of them joined are one deflate stream, and their checksums combine to that of
// the file.
#include "formats/deflate.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>

#include "base/workers.h"

namespace vistrel {
namespace {

constexpr int kWindowBits = 15;
enum class ZlibWrapping : std::uint8_t { None, Gzip };

// How zlib is told which wrapping there is.
constexpr int WindowBits(ZlibWrapping wrapping) {
    return wrapping == ZlibWrapping::Gzip ? kWindowBits + 16 : -kWindowBits;
}

constexpr std::size_t kDeflateWindow = 32768;  // how far back deflate looks
constexpr int kDeflateLevel = 5;
constexpr int kDeflateMemory = 9;  // the most, which makes the tables fit the data best
constexpr std::size_t kDeflateBlock = std::size_t{1} << 19;
constexpr std::size_t kLeastInflated = std::size_t{1} << 16;

constexpr std::array<unsigned char, 10> kGzipStart = {
    0x1F, 0x8B, 8,  // gzip, deflate
    0,              // neither name nor comment
    0,    0,    0, 0,
    0,     // no time
    0xFF,  // of an unknown system
};

// zlib takes pointers that are not const to bytes that it only reads.
Bytef* ZlibInput(const std::byte* bytes) {
    return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes));
}

uInt ZlibAtOnce(std::size_t bytes) {
    return static_cast<uInt>(std::min<std::size_t>(bytes, std::numeric_limits<uInt>::max()));
}

// Unpacks piece by piece.
class Inflation {
  public:
    Inflation(std::span<const std::byte> content, ZlibWrapping wrapping) : rest_(content) {
        if (inflateInit2(&stream_, WindowBits(wrapping)) != Z_OK) throw std::bad_alloc();
    }
    ~Inflation() { inflateEnd(&stream_); }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;

    // Fills `room`; less only at the end. Returns how much.
    std::size_t Fill(std::span<std::byte> room) {
        std::size_t filled = 0;
        while (filled < room.size() && !ended_) filled += Step(room.subspan(filled));
        return filled;
    }

    // Whether bytes are left behind the end.
    [[nodiscard]] bool GoesOn() const { return ended_ && !rest_.empty(); }

  private:
    std::size_t Step(std::span<std::byte> room) {
        stream_.next_in = ZlibInput(rest_.data());
        stream_.avail_in = ZlibAtOnce(rest_.size());
        stream_.next_out = reinterpret_cast<Bytef*>(room.data());
        stream_.avail_out = ZlibAtOnce(room.size());
        const uInt offered = stream_.avail_in;
        const uInt free = stream_.avail_out;
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) throw std::bad_alloc();
        if (result == Z_BUF_ERROR) throw std::runtime_error("it is cut short");
        if (result != Z_OK && result != Z_STREAM_END) {
            throw std::runtime_error("its compressed data are damaged");
        }
        ended_ = result == Z_STREAM_END;
        rest_ = rest_.subspan(offered - stream_.avail_in);
        return free - stream_.avail_out;
    }

    z_stream stream_ = {};
    std::span<const std::byte> rest_;
    bool ended_ = false;
};

std::vector<std::byte> UnpackWrapped(std::span<const std::byte> content, ZlibWrapping wrapping,
                                     std::size_t least, std::size_t most) {
    Inflation inflation(content, wrapping);
    std::vector<std::byte> unpacked;
    std::size_t room = std::max(kLeastInflated, 4 * content.size());
    for (;;) {
        const std::size_t before = unpacked.size();
        room = std::min(room, most + 1 - before);  // one more shows that there is more
        unpacked.resize(before + room);
        const std::size_t filled = inflation.Fill(std::span(unpacked).subspan(before));
        unpacked.resize(before + filled);
        if (filled < room) break;
        if (unpacked.size() > most) throw std::runtime_error("it unpacks to more than it claims");
        room = unpacked.size();
    }
    if (unpacked.size() < least) throw std::runtime_error("it unpacks to less than it claims");
    if (inflation.GoesOn()) throw std::runtime_error("it goes on behind its end");
    return unpacked;
}

struct DeflatedBlock {
    std::vector<std::byte> bytes;
    uLong checksum = 0;
};

class Deflation {
  public:
    Deflation() {
        if (deflateInit2(&stream_, kDeflateLevel, Z_DEFLATED, WindowBits(ZlibWrapping::None),
                         kDeflateMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Deflation() { deflateEnd(&stream_); }
    Deflation(const Deflation&) = delete;
    Deflation& operator=(const Deflation&) = delete;

    // The block of `content` from `first` on.
    DeflatedBlock Pack(std::span<const std::byte> content, std::size_t first) {
        const std::size_t size = std::min(kDeflateBlock, content.size() - first);
        const std::size_t known = std::min(kDeflateWindow, first);
        deflateReset(&stream_);
        deflateSetDictionary(&stream_, ZlibInput(content.data() + first - known),
                             ZlibAtOnce(known));
        DeflatedBlock packed;
        packed.checksum = Crc32(content.subspan(first, size));
        packed.bytes.resize(deflateBound(&stream_, static_cast<uLong>(size)) + kFlush);
        stream_.next_in = ZlibInput(content.data() + first);
        stream_.avail_in = ZlibAtOnce(size);
        stream_.next_out = reinterpret_cast<Bytef*>(packed.bytes.data());
        stream_.avail_out = ZlibAtOnce(packed.bytes.size());
        const bool isLast = first + size == content.size();
        deflate(&stream_, isLast ? Z_FINISH : Z_SYNC_FLUSH);
        packed.bytes.resize(packed.bytes.size() - stream_.avail_out);
        return packed;
    }

  private:
    static constexpr std::size_t kFlush = 16;  // more than what the end of a block takes

    z_stream stream_ = {};
};

void AppendLittleEndian(std::uint32_t value, ByteSink& sink) {
    std::array<std::byte, 4> bytes;
    for (std::size_t k = 0; k < 4; ++k) bytes[k] = static_cast<std::byte>(value >> (8 * k));
    sink.Append(bytes);
}

}  // namespace

std::uint32_t Crc32(std::span<const std::byte> content) {
    return static_cast<std::uint32_t>(
        crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size()));
}

std::vector<std::byte> UnpackDeflate(std::span<const std::byte> content, std::size_t bytes) {
    return UnpackWrapped(content, ZlibWrapping::None, bytes, bytes);
}

bool IsGzip(std::span<const std::byte> content) {
    return content.size() > kGzipStart.size() &&
           std::equal(kGzipStart.begin(), kGzipStart.begin() + 3, content.begin(),
                      [](unsigned char a, std::byte b) { return std::byte{a} == b; });
}

std::vector<std::byte> UnpackGzipStart(std::span<const std::byte> content, std::size_t bytes) {
    std::vector<std::byte> start(bytes);
    start.resize(Inflation(content, ZlibWrapping::Gzip).Fill(start));
    return start;
}

std::vector<std::byte> UnpackGzip(std::span<const std::byte> content, std::size_t least,
                                  std::size_t most) {
    return UnpackWrapped(content, ZlibWrapping::Gzip, least, most);
}

void PackGzip(std::span<const std::byte> content, int threads, ByteSink& sink) {
    std::vector<DeflatedBlock> blocks(
        std::max<std::size_t>(1, (content.size() + kDeflateBlock - 1) / kDeflateBlock));
    Workers workers(threads);
    workers.Run(blocks.size(), [&](std::size_t block, int) {
        blocks[block] = Deflation().Pack(content, block * kDeflateBlock);
    });
    sink.Append(std::as_bytes(std::span(kGzipStart)));
    uLong checksum = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const std::size_t size = std::min(kDeflateBlock, content.size() - i * kDeflateBlock);
        checksum = crc32_combine(checksum, blocks[i].checksum, static_cast<z_off_t>(size));
        sink.Append(blocks[i].bytes);
        blocks[i].bytes = {};
    }
    AppendLittleEndian(static_cast<std::uint32_t>(checksum), sink);
    AppendLittleEndian(static_cast<std::uint32_t>(content.size()), sink);
}

}  // namespace vistrel
