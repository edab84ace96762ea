// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a command on a disk that goes bad at one of its calls.
//
// Usage: faulty_files FOLDER DISK ACCESS FAULT NUMBER LIST COMMAND...
//
// DISK is "unnamed" or "named": whether it has files without a name.
// Counted are the calls with ACCESS ("write" or "read") to FOLDER and what lies below it, by the
// command and all that it starts. FAULT says what becomes of call NUMBER (from 1 on; 0 for none)
// and of the later ones:
//   once   it fails, the later ones do not
//   on     it fails, and so do they
//   full   those of them that take room fail
//   short  it moves only half of its bytes, and then the disk is full
//   part   it moves only half of its bytes
//   kill   the process is killed before it
// LIST, a file that does not count, gets a line for each: the call and its first path, with a tab
// between them. The exit status is the command's, or 128 + the signal that ended it; 125 when this
// system allows no tracing.
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "tests/faults/tracer.h"

namespace vistrel::test {
namespace {

class BadDisk {
  public:
    explicit BadDisk(char** arguments)
        : folder_(arguments[0]),
          hasUnnamedFiles_(std::string_view(arguments[1]) == "unnamed"),
          access_(std::string_view(arguments[2]) == "write" ? Access::kWrite : Access::kRead),
          fault_(arguments[3]),
          bad_(std::stol(arguments[4])),
          list_(arguments[5]) {}

    Verdict Judge(const FileCall& call) {
        for (const std::string& path : call.paths) {
            if (!LiesHere(path)) continue;
            if (call.isUnnamed && !hasUnnamedFiles_) return Verdict::kUnknown;
            if (call.access != access_) return Verdict::kPass;
            list_ << call.name << '\t' << path << std::endl;  // also when the command is killed
            ++number_;
            return Fate(call);
        }
        return Verdict::kPass;
    }

  private:
    [[nodiscard]] bool LiesHere(std::string_view path) const {
        if (!path.starts_with(folder_)) return false;
        path.remove_prefix(folder_.size());
        return path.empty() || path.front() == '/';
    }

    [[nodiscard]] Verdict Fate(const FileCall& call) const {
        if (bad_ == 0 || number_ < bad_) return Verdict::kPass;
        const bool isFirst = number_ == bad_;
        if (fault_ == "once") return isFirst ? Verdict::kFail : Verdict::kPass;
        if (fault_ == "on") return Verdict::kFail;
        if (fault_ == "kill") return isFirst ? Verdict::kKill : Verdict::kPass;
        if (isFirst && fault_ != "full") return call.movesBytes ? Verdict::kHalf : Verdict::kPass;
        return call.takesRoom && fault_ != "part" ? Verdict::kFail : Verdict::kPass;
    }

    std::string folder_;
    bool hasUnnamedFiles_;
    Access access_;
    std::string fault_;
    long bad_;
    std::ofstream list_;
    long number_ = 0;
};

}  // namespace
}  // namespace vistrel::test

int main(int argc, char** argv) {
    constexpr int kFirstOfCommand = 7;
    constexpr int kCannotTrace = 125;
    if (argc <= kFirstOfCommand) return EXIT_FAILURE;
    try {
        vistrel::test::BadDisk disk(argv + 1);
        return vistrel::test::RunTraced(
            argv + kFirstOfCommand,
            [&disk](const vistrel::test::FileCall& call) { return disk.Judge(call); });
    } catch (const vistrel::test::NoTracing&) {
        return kCannotTrace;
    } catch (const std::exception& failure) {
        std::cerr << "faulty_files: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
