// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace vistrel {
namespace {

constexpr std::string_view kHeadings = "input\toutput\tseconds\tGaussians\terror\n";

void AppendEscaped(std::string_view value, std::string& text) {
    for (const char character : value) {
        switch (character) {
            case '\t':
                text += "\\t";
                break;
            case '\n':
                text += "\\n";
                break;
            case '\r':
                text += "\\r";
                break;
            case '\\':
                text += "\\\\";
                break;
            default:
                text += character;
        }
    }
}

std::string SecondsText(std::chrono::duration<double> taken) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f", taken.count());
    return text.data();
}

}  // namespace

std::string ReportText(const ReportLine& line) {
    std::string text;
    AppendEscaped(line.input.native(), text);
    text += '\t';
    AppendEscaped(line.output.native(), text);
    text += '\t';
    if (line.taken) text += SecondsText(*line.taken);
    text += '\t';
    if (line.gaussians) text += std::to_string(*line.gaussians);
    text += '\t';
    AppendEscaped(line.error, text);
    text += '\n';
    return text;
}

BatchReport::BatchReport(const std::filesystem::path& path)
    : path_(path), file_(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666)) {
    if (file_ < 0) Fail();
    try {
        Begin();
    } catch (...) {
        close(file_);
        throw;
    }
}

BatchReport::~BatchReport() {
    close(file_);
}

void BatchReport::Begin() const {
    struct stat status{};
    if (fstat(file_, &status) != 0) Fail();
    if (!S_ISREG(status.st_mode) || status.st_size == 0) return Write(kHeadings);
    std::array<char, kHeadings.size()> start{};
    const ssize_t size = pread(file_, start.data(), start.size(), 0);
    if (size < 0) Fail();
    const std::string_view read(start.data(), static_cast<std::size_t>(size));
    // Of a few bytes a full disk or a crash may have kept some.
    if (!kHeadings.starts_with(read)) {
        throw std::runtime_error(path_.native() + " is there already, and no report");
    }
    if (read.size() < kHeadings.size()) return Write(kHeadings.substr(read.size()));
    char last = '\n';
    if (pread(file_, &last, 1, status.st_size - 1) < 0) Fail();
    if (last != '\n') Write("\n");
}

void BatchReport::Add(const ReportLine& line) const {
    Write(ReportText(line));
}

// In one piece, so that the lines of several processes stay apart.
void BatchReport::Write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = write(file_, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail();
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

void BatchReport::Fail() const {
    throw std::runtime_error("Cannot write " + path_.native() + ": " + std::strerror(errno));
}

}  // namespace vistrel
