// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/sha256.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "base/input_file.h"

namespace vistrel {
namespace {

void RequireDigest(int succeeded) {
    if (succeeded != 1) throw std::runtime_error("SHA-256 cannot be computed");
}

}  // namespace

struct Sha256::State {
    State() {
        if (context == nullptr) throw std::bad_alloc();
    }
    ~State() { EVP_MD_CTX_free(context); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    EVP_MD_CTX* context = EVP_MD_CTX_new();
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    RequireDigest(EVP_DigestInit_ex(state_->context, EVP_sha256(), nullptr));
}

Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::Add(std::string_view bytes) {
    RequireDigest(EVP_DigestUpdate(state_->context, bytes.data(), bytes.size()));
}

void Sha256::Add(std::span<const std::byte> bytes) {
    RequireDigest(EVP_DigestUpdate(state_->context, bytes.data(), bytes.size()));
}

std::string Sha256::Digest() const {
    const State copy;
    RequireDigest(EVP_MD_CTX_copy_ex(copy.context, state_->context));
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    RequireDigest(EVP_DigestFinal_ex(copy.context, digest.data(), &size));
    std::string digits;
    for (unsigned i = 0; i < size; ++i) {
        constexpr std::string_view kHexadecimal = "0123456789abcdef";
        digits += kHexadecimal[digest[i] >> 4U];
        digits += kHexadecimal[digest[i] & 15U];
    }
    return digits;
}

Sha256 Sha256OfFile(const std::filesystem::path& file) {
    constexpr std::uint64_t kReadSize = std::uint64_t{1} << 20;
    const InputFile input(file);
    Sha256 sum;
    std::vector<std::byte> buffer(kReadSize);
    for (std::uint64_t position = 0; position < input.Size(); position += kReadSize) {
        const std::span piece(buffer.data(), std::min(kReadSize, input.Size() - position));
        input.Read(position, piece);
        sum.Add(piece);
    }
    return sum;
}

}  // namespace vistrel
