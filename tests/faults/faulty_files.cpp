// Runs a command on a disk that goes bad at one of its calls.
//
// Usage: faulty_files FOLDER ACCESS FAULT NUMBER LIST COMMAND...
//
// Counted are the calls with ACCESS ("write" or "read") to FOLDER and what lies below it, by the
// command and all that it starts. FAULT says what becomes of call NUMBER (from 1 on; 0 for none)
// and of the later ones:
//   once   it fails, the later ones do not
//   on     it fails, and so do they
//   full   those of them that take room fail
//   short  it moves only half of its bytes, and then the disk is full
//   part   it moves only half of its bytes
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
          access_(std::string_view(arguments[1]) == "write" ? Access::kWrite : Access::kRead),
          fault_(arguments[2]),
          bad_(std::stol(arguments[3])),
          list_(arguments[4]) {}

    Verdict Judge(const FileCall& call) {
        if (call.access != access_) return Verdict::kPass;
        for (const std::string& path : call.paths) {
            if (!LiesHere(path)) continue;
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
        if (isFirst && fault_ != "full") return call.movesBytes ? Verdict::kHalf : Verdict::kPass;
        return call.takesRoom && fault_ != "part" ? Verdict::kFail : Verdict::kPass;
    }

    std::string folder_;
    Access access_;
    std::string fault_;
    long bad_;
    std::ofstream list_;
    long number_ = 0;
};

}  // namespace
}  // namespace vistrel::test

int main(int argc, char** argv) {
    constexpr int kFirstOfCommand = 6;
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
