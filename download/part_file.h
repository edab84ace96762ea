// SPDX-License-Identifier: GPL-3.0-or-later
// What has arrived of a file so far, and of which file it is a part.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "download/sha256.h"

namespace vistrel {

// The file that a part is of.
struct PartOrigin {
    std::string url;
    std::string etag{};     // a strong one, or empty
    std::int64_t size = 0;  // bytes; 0: not known
    std::string sha256{};   // empty: not known

    bool operator==(const PartOrigin&) const = default;
};

// Somebody else, in whatever process, has the part in hand.
class PartIsBusy : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The names of the part of `file` and of what tells its origin.
[[nodiscard]] std::filesystem::path PartNameOf(const std::filesystem::path& file);
[[nodiscard]] std::filesystem::path OriginNameOf(const std::filesystem::path& file);

// The origin that is told there; nothing where none is, or one that is broken.
[[nodiscard]] std::optional<PartOrigin> ReadPartOrigin(const std::filesystem::path& file);

// The part of `file`, which lies beside it and outlives this object and the process, whatever ends
// them. One object, of whatever process, has it at a time. One thread at a time; failures throw
// std::system_error.
class PartFile {
  public:
    // Makes an empty one where there is none. Throws PartIsBusy.
    explicit PartFile(std::filesystem::path file);
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    [[nodiscard]] std::int64_t Size() const { return size_; }

    // Empties it. From here on it is a part of this file, also to whoever comes after a failure.
    void Begin(const PartOrigin& origin);
    void Append(std::string_view bytes);
    // Of what is there.
    [[nodiscard]] Sha256 Sum() const;

    // It is whole: it takes the place of `file`, and outlives a loss of power there. The last call.
    void Commit();
    // Nothing of it is left. The last call.
    void Discard();

  private:
    void Open();

    std::filesystem::path file_;
    std::filesystem::path part_;
    int descriptor_ = -1;
    std::int64_t size_ = 0;
};

}  // namespace vistrel
