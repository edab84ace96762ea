// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/shared_library.h"

#include <elf.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>

#include "base/input_file.h"

namespace vistrel {
namespace {

constexpr std::uint64_t kMostEntries = 65536;  // more than any real table has
constexpr std::uint64_t kLongestName = 256;

class ElfFile {
  public:
    explicit ElfFile(const std::filesystem::path& path) : file_(path) {
        header_ = Table<Elf64_Ehdr>(0, 1).front();
        const bool isElf = std::memcmp(header_.e_ident, ELFMAG, SELFMAG) == 0 &&
                           header_.e_ident[EI_CLASS] == ELFCLASS64 &&
                           header_.e_ident[EI_DATA] == ELFDATA2LSB &&
                           header_.e_machine == EM_X86_64 && header_.e_type == ET_DYN;
        if (!isElf) throw std::runtime_error("It is no shared library for this processor.");
        segments_ = Table<Elf64_Phdr>(header_.e_phoff, header_.e_phnum);
        CheckEnd();
    }

    std::vector<std::string> Needed() const {
        const auto dynamic =
            std::ranges::find(segments_, Elf64_Word{PT_DYNAMIC}, &Elf64_Phdr::p_type);
        if (dynamic == segments_.end()) return {};
        const std::uint64_t count = dynamic->p_filesz / sizeof(Elf64_Dyn);
        std::optional<std::uint64_t> names;
        std::vector<std::uint64_t> needed;
        for (const Elf64_Dyn& entry : Table<Elf64_Dyn>(dynamic->p_offset, count)) {
            if (entry.d_tag == DT_NULL) break;
            if (entry.d_tag == DT_STRTAB) names = PositionOf(entry.d_un.d_ptr);
            if (entry.d_tag == DT_NEEDED) needed.push_back(entry.d_un.d_val);
        }
        if (needed.empty()) return {};
        if (!names) FailAsBroken();
        std::vector<std::string> texts;
        texts.reserve(needed.size());
        for (const std::uint64_t offset : needed) texts.push_back(NameAt(*names, offset));
        return texts;
    }

  private:
    [[noreturn]] static void FailAsBroken() {
        throw std::runtime_error("It is broken, or not all of it is there.");
    }

    template <typename Entry>
    std::vector<Entry> Table(std::uint64_t position, std::uint64_t count) const {
        RequireInside(position, count, sizeof(Entry));
        std::vector<Entry> entries(count);
        file_.Read(position, std::as_writable_bytes(std::span(entries)));
        return entries;
    }

    void RequireInside(std::uint64_t position, std::uint64_t count, std::uint64_t each) const {
        if (count > kMostEntries || position > file_.Size() ||
            count * each > file_.Size() - position) {
            FailAsBroken();
        }
    }

    // What a cut takes away first: linkers put the table of sections last.
    void CheckEnd() const {
        RequireInside(header_.e_shoff, header_.e_shnum, header_.e_shentsize);
        for (const Elf64_Phdr& segment : segments_) {
            if (segment.p_type != PT_LOAD) continue;
            if (segment.p_offset > file_.Size() ||
                segment.p_filesz > file_.Size() - segment.p_offset) {
                FailAsBroken();
            }
        }
    }

    // In the file, of what lies at `address` once it is loaded.
    std::uint64_t PositionOf(std::uint64_t address) const {
        for (const Elf64_Phdr& segment : segments_) {
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr < segment.p_filesz) {
                return address - segment.p_vaddr + segment.p_offset;
            }
        }
        FailAsBroken();
    }

    std::string NameAt(std::uint64_t names, std::uint64_t offset) const {
        if (names > file_.Size() || offset > file_.Size() - names) FailAsBroken();
        const std::uint64_t position = names + offset;
        std::string text(std::min(kLongestName, file_.Size() - position), '\0');
        file_.Read(position, std::as_writable_bytes(std::span(text)));
        const std::size_t end = text.find('\0');
        if (end == 0 || end == text.npos) FailAsBroken();
        text.resize(end);
        return text;
    }

    InputFile file_;
    Elf64_Ehdr header_ = {};
    std::vector<Elf64_Phdr> segments_;
};

}  // namespace

std::vector<std::string> NeededLibraries(const std::filesystem::path& file) {
    return ElfFile(file).Needed();
}

}  // namespace vistrel
