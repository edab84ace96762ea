// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/raw_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

namespace vistrel {
namespace {

enum class Outcome : std::uint8_t { Loaded, NotMine, Refused, NoMemory };

// What the process leaves in the file that both share; `bytes` of samples, or of the sentence of a
// refusal, follow.
struct Result {
    Outcome outcome = Outcome::NotMine;
    SampleFormat format = SampleFormat::Bytes;
    ColourModel model = ColourModel::Rgba;
    bool opaque = false;
    bool exifTurns = false;
    int width = 0;
    int height = 0;
    int orientation = 1;
    int reduction = 1;
    std::size_t bytes = 0;
};

class SharedFile {
  public:
    SharedFile() : descriptor_(memfd_create("photograph", MFD_CLOEXEC)) {}
    ~SharedFile() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

    [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }

    [[nodiscard]] bool Append(const void* from, std::size_t bytes) const {
        const char* at = static_cast<const char*>(from);
        while (bytes > 0) {
            const ssize_t written = write(descriptor_, at, bytes);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            at += written;
            bytes -= static_cast<std::size_t>(written);
        }
        return true;
    }

    [[nodiscard]] bool Read(void* to, std::size_t bytes, std::size_t offset) const {
        char* at = static_cast<char*>(to);
        while (bytes > 0) {
            const ssize_t read = pread(descriptor_, at, bytes, static_cast<off_t>(offset));
            if (read < 0 && errno == EINTR) continue;
            if (read <= 0) return false;
            at += read;
            offset += static_cast<std::size_t>(read);
            bytes -= static_cast<std::size_t>(read);
        }
        return true;
    }

  private:
    int descriptor_;
};

std::size_t SampleBytes(const DecodedPhoto& photo) {
    return static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height) *
           kPixelBytes * BytesPerSample(photo.format);
}

bool Leave(const SharedFile& shared, Result result, const void* content, std::size_t bytes) {
    result.bytes = bytes;
    return shared.Append(&result, sizeof result) && shared.Append(content, bytes);
}

bool LoadInto(const SharedFile& shared, PhotoLoader loader, std::span<const std::byte> file) {
    try {
        const std::optional<DecodedPhoto> photo = loader(file);
        if (!photo) return Leave(shared, {.outcome = Outcome::NotMine}, nullptr, 0);
        return Leave(shared,
                     {Outcome::Loaded, photo->format, photo->model, photo->opaque, photo->exifTurns,
                      photo->width, photo->height, photo->orientation, photo->reduction},
                     photo->samples.get(), SampleBytes(*photo));
    } catch (const PhotoError& error) {
        const std::string_view sentence = error.what();
        return Leave(shared, {.outcome = Outcome::Refused}, sentence.data(), sentence.size());
    } catch (const std::bad_alloc&) {
        return Leave(shared, {.outcome = Outcome::NoMemory}, nullptr, 0);
    }
}

// What a library says when it ends the process is for nobody, and neither is a memory dump.
void BeQuiet() {
    prctl(PR_SET_DUMPABLE, 0);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
}

[[noreturn]] void RunChild(pid_t parent, const SharedFile& shared, PhotoLoader loader,
                           std::span<const std::byte> file) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(EXIT_FAILURE);
    BeQuiet();
    _exit(LoadInto(shared, loader, file) ? EXIT_SUCCESS : EXIT_FAILURE);
}

bool EndsWell(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

DecodedPhoto TakePhoto(const SharedFile& shared, const Result& result) {
    DecodedPhoto photo;
    photo.width = result.width;
    photo.height = result.height;
    photo.format = result.format;
    photo.model = result.model;
    photo.opaque = result.opaque;
    photo.orientation = result.orientation;
    photo.exifTurns = result.exifTurns;
    photo.reduction = result.reduction;
    AllocateSamples(photo);
    if (!shared.Read(photo.samples.get(), SampleBytes(photo), sizeof result)) {
        throw PhotoError("Its pixels were lost on the way.");
    }
    return photo;
}

}  // namespace

std::optional<DecodedPhoto> LoadInOwnProcess(PhotoLoader loader, std::span<const std::byte> file) {
    const SharedFile shared;
    const pid_t parent = getpid();
    const pid_t child = shared.IsOpen() ? fork() : -1;
    if (child == 0) RunChild(parent, shared, loader, file);
    if (child < 0) throw PhotoError("There is no process to be had for its library.");

    Result result;
    if (!EndsWell(child) || !shared.Read(&result, sizeof result, 0)) {
        throw PhotoError("It is damaged: its library fails on it.");
    }
    switch (result.outcome) {
        case Outcome::NotMine:
            return std::nullopt;
        case Outcome::NoMemory:
            throw std::bad_alloc();
        case Outcome::Refused: {
            std::string sentence(result.bytes, ' ');
            if (!shared.Read(sentence.data(), sentence.size(), sizeof result)) sentence.clear();
            throw PhotoError(sentence);
        }
        case Outcome::Loaded:
            break;
    }
    return TakePhoto(shared, result);
}

}  // namespace vistrel
