// A file written front to back through a small buffer of its own.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace vistrel {

// Behaves like an output file stream: only opening fails loudly. After the first error while
// writing (disk full, size limit, reader gone) the rest is dropped and the file stays short; the
// signals that the system sends with such errors do not reach the process.
//
// One object, one thread.
class OutputFile {
  public:
    // Creates the file, or empties it; anything that can be written will do (pipe, device). Throws
    // std::runtime_error "Cannot open output file".
    explicit OutputFile(const std::wstring& path);
    ~OutputFile();  // writes what is buffered
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    static constexpr std::size_t kLargestPiece = std::size_t{64} << 10;

    // Room for the next `bytes` of the file, at most kLargestPiece. The caller fills all of it
    // before the next call.
    [[nodiscard]] std::span<std::byte> Next(std::size_t bytes);

    void Append(std::string_view piece);  // at most kLargestPiece

  private:
    static constexpr std::size_t kBufferSize = std::size_t{256} << 10;

    void Flush();

    std::unique_ptr<std::byte[]> buffer_;
    std::size_t used_ = 0;
    int file_;
    bool failed_ = false;
};

}  // namespace vistrel
