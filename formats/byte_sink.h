// SPDX-License-Identifier: GPL-3.0-or-later
// Where a writer puts a file's bytes, front to back.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "base/new_file.h"

namespace vistrel {

class ByteSink {
  public:
    ByteSink() = default;
    virtual ~ByteSink() = default;
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;

    // Any number of bytes. Throws what the sink throws when there is no place for them.
    virtual void Append(std::span<const std::byte> bytes) = 0;
    void Append(std::string_view bytes) { Append(std::as_bytes(std::span(bytes))); }
};

// Into a file that its owner commits. Throws std::system_error.
class FileSink : public ByteSink {
  public:
    explicit FileSink(NewFile& file) : file_(file) {}
    using ByteSink::Append;
    void Append(std::span<const std::byte> bytes) override { file_.Append(bytes); }

  private:
    NewFile& file_;
};

// Into memory. Throws std::bad_alloc.
class MemorySink : public ByteSink {
  public:
    using ByteSink::Append;
    void Append(std::span<const std::byte> bytes) override {
        content.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }

    std::string content;
};

}  // namespace vistrel
