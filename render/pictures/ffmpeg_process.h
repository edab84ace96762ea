// SPDX-License-Identifier: GPL-3.0-or-later
// The program ffmpeg at work.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vistrel {

// Reads what is written to it and writes a file of its own making. One object is for one thread,
// but that Write may wait on one while another ends the process.
class FfmpegProcess {
  public:
    // Where `output` is in the arguments.
    static constexpr const char* kOutput = "file:/proc/self/fd/3";

    // Starts it with these arguments, those that all uses share before them. Throws
    // std::runtime_error that tells what is missing.
    FfmpegProcess(const std::vector<std::string>& arguments, int output);
    ~FfmpegProcess();  // ends it at once where it still runs
    FfmpegProcess(const FfmpegProcess&) = delete;
    FfmpegProcess& operator=(const FfmpegProcess&) = delete;

    // Waits until all bytes are taken; false where it takes no more.
    [[nodiscard]] bool Write(std::span<const std::byte> bytes) const;

    // Ends what it reads and waits for its end. Throws std::runtime_error with its own words when
    // that was none in success.
    void Finish();

    // From then on nothing can be written to it.
    void End() const;

  private:
    FfmpegProcess() = default;
    void Start(const std::vector<std::string>& arguments, int output);
    [[nodiscard]] int WaitForEnd();
    [[nodiscard]] std::string Words() const;

    int input_ = -1;
    int words_ = -1;  // what it says
    pid_t process_ = -1;
};

// For a process that ends while its threads still write: ends every ffmpeg that it has started.
// From then on none is started any more; whoever starts one is held until the process has ended.
void EndFfmpegProcesses();

}  // namespace vistrel
