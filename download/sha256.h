// SPDX-License-Identifier: GPL-3.0-or-later
// The checksum by which the hub knows its files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace vistrel {

// One thread at a time. Throws std::runtime_error where the library for it fails.
class Sha256 {
  public:
    Sha256();
    ~Sha256();
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;

    void Add(std::string_view bytes);
    void Add(std::span<const std::byte> bytes);

    // Of all that was added so far: 64 hexadecimal digits in small letters. More may follow.
    [[nodiscard]] std::string Digest() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Of a file as it is at present. Throws std::runtime_error where it cannot be read. Any thread.
[[nodiscard]] Sha256 Sha256OfFile(const std::filesystem::path& file);

}  // namespace vistrel
