// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ksplat.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "formats/ksplat_section.h"

namespace vistrel {
namespace {

class KsplatFile {
  public:
    explicit KsplatFile(const InputFile& file) : file_(file), header_(ReadKsplatHeader(file)) {
        std::uint64_t headerPlace = kKsplatHeaderBytes;
        std::uint64_t place =
            headerPlace + std::uint64_t{header_.sections} * kKsplatSectionHeaderBytes;
        if (place > file.Size()) throw std::runtime_error("it is cut short");
        for (std::uint32_t i = 0; i < header_.sections; ++i) {
            KsplatSection section(file, header_, headerPlace, place);
            headerPlace += kKsplatSectionHeaderBytes;
            place = section.End();
            if (section.Count() == 0) continue;
            facts_.degree = std::max(facts_.degree, section.Degree());
            facts_.count += section.Count();
            ends_.push_back(facts_.count);
            sections_.push_back(std::move(section));
        }
        if (facts_.count != header_.gaussians) {
            throw std::runtime_error("it claims " + std::to_string(header_.gaussians) +
                                     " Gaussians but holds " + std::to_string(facts_.count));
        }
        if (facts_.count > kMostGaussians) throw std::runtime_error("it has too many Gaussians");
    }

    KsplatFile(const KsplatFile&) = delete;
    KsplatFile& operator=(const KsplatFile&) = delete;

    [[nodiscard]] const SceneFacts& Facts() const { return facts_; }

    void Decode(std::size_t first, std::size_t count, float* rows) const {
        auto section =
            static_cast<std::size_t>(std::ranges::upper_bound(ends_, first) - ends_.begin());
        for (std::size_t done = 0; done < count; ++section) {
            const std::size_t begin = ends_[section] - sections_[section].Count();
            const std::size_t inSection = std::min(count - done, ends_[section] - (first + done));
            sections_[section].Decode(file_, first + done - begin, inSection, facts_.degree,
                                      rows + done);
            done += inSection;
        }
    }

  private:
    const InputFile& file_;
    KsplatHeader header_;
    SceneFacts facts_;
    std::vector<KsplatSection> sections_;
    std::vector<std::size_t> ends_;  // the place behind the last Gaussian of each
};

}  // namespace

bool ReadKsplat(const SceneInput& input, SceneSink& sink) {
    if (input.ending != ".ksplat") return false;
    const KsplatFile file(input.file);
    DeliverPieces(file.Facts(), sink, input.threads,
                  [&file](std::size_t first, std::size_t count, float* rows) {
                      file.Decode(first, count, rows);
                  });
    return true;
}

}  // namespace vistrel
