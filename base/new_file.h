// SPDX-License-Identifier: GPL-3.0-or-later
// Files that appear under their name whole, or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace vistrel {

enum class Durability {
    kUsual,
    kOnDisk,  // once committed, the file outlives a loss of power
};

struct NewFileOptions {
    Durability durability = Durability::kUsual;
    // For callers that show the growing file to others: its name until it takes its place; a file
    // there is overwritten, but for one that somebody else, in whatever process, lets grow: then
    // opening fails with EWOULDBLOCK. The place itself is looked at only at the end: a link there
    // is replaced, and a former file's permissions are not kept. Empty: no name, or one that nobody
    // needs to know.
    std::filesystem::path growsAs = {};
};

// A file written front to back through a small buffer, or in parts by several threads. It grows in
// the target's folder without a name, or as a `.part` file where the file system has no unnamed
// files, and takes its place in Commit. Until then a former file is as it was; the new one gets its
// permissions. Links are followed, also to a file that is yet to be made. Pipes and devices are
// written directly.
//
// Where the folder takes no new file but the former one may be written, that one is written over in
// place; only then can a failure leave half a file.
//
// A process that is killed leaves nothing where there are unnamed files, except in the instant in
// which a whole file replaces a former one: then a `.part` file with all of it.
//
// Failures throw std::system_error with the system's reason; what was written is gone with the
// object. The signals that come with some of them (SIGPIPE, SIGXFSZ) do not reach the process. One
// object is for one thread, but for WriteAt.
class NewFile {
  public:
    // Fails as opening a file for writing does. Waits for a pipe's reader.
    explicit NewFile(const std::filesystem::path& path, NewFileOptions options = {});
    ~NewFile();  // what was not committed is gone
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    static constexpr std::size_t kLargestPiece = std::size_t{64} << 10;

    // Room for the next `bytes` of the file, at most kLargestPiece. The caller fills all of it
    // before the next call.
    [[nodiscard]] std::span<std::byte> Next(std::size_t bytes) {
        if (used_ + bytes > kBufferSize) Flush();
        const std::span<std::byte> room(buffer_.get() + used_, bytes);
        used_ += bytes;
        return room;
    }

    // Any number of bytes.
    void Append(std::span<const std::byte> bytes);
    void Append(std::string_view bytes);

    // Leaves out the next `bytes` of the file, for WriteAt to fill, and returns where they begin.
    // Nothing where the file takes its bytes in order only, as pipes do.
    [[nodiscard]] std::optional<std::uint64_t> LeaveOut(std::uint64_t bytes);

    // Fills `bytes` from `place` on, counted from the file's beginning. Threads may do so side by
    // side while none calls anything else. After a failure the file must not be committed.
    void WriteAt(std::uint64_t place, std::span<const std::byte> bytes) const;

    // The file itself, empty, for what fills it in place of this object: open for writing, and to
    // be opened anew through /proc. Nothing may have been written before.
    [[nodiscard]] int Descriptor();

    // Ends the writing: every byte has reached the file. Commit does so by itself; this is for
    // callers that tell a failure to write from one to take its place.
    void Finish();

    // The file takes its place. When that fails, one that grows under the caller's name keeps it.
    void Commit();

    // Does what the destructor does. Throws std::filesystem::filesystem_error when the growing file
    // cannot be removed.
    void Discard();

  private:
    static constexpr std::size_t kBufferSize = std::size_t{256} << 10;

    explicit NewFile(NewFileOptions options);
    void OpenGrowing();
    void OpenBesideTarget();
    void TakeOver(unsigned owner, unsigned group, unsigned mode);
    void Flush();
    void WriteOut(std::span<const std::byte> bytes);
    [[noreturn]] void GiveUp(int error);
    void TakePlace();

    const NewFileOptions options_;
    const std::unique_ptr<std::byte[]> buffer_;
    std::size_t used_ = 0;
    std::filesystem::path target_;  // links resolved
    std::filesystem::path part_;    // the growing file's name; empty: it has none
    int file_ = -1;
    int lock_ = -1;  // keeps the file of `growsAs` for this object, also once file_ is closed
    bool isUnnamed_ = false;   // grows without a name; if it has none either, it is in its place
    bool replaces_ = false;    // there is a former file
    bool emptyFirst_ = false;  // file_ was there before; its bytes go before the first new one
    bool isFinished_ = false;
};

// All of `bytes` as the file at `path`; false where that failed, and then as NewFile leaves it. Any
// thread; throws std::bad_alloc only.
[[nodiscard]] bool WriteNewFile(const std::filesystem::path& path, std::span<const std::byte> bytes,
                                Durability durability = Durability::kUsual);

// For a process that ends while its threads still write: removes every `.part` file. From then on
// no file appears any more; whoever makes, commits or discards one is held until the process has
// ended, the caller included.
void DiscardUnfinishedFiles();

}  // namespace vistrel
