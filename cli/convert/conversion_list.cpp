// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/conversion_list.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "cli/convert/scene_conversion.h"
#include "cli/convert/scene_names.h"

namespace vistrel {
namespace {

// The scenes' names of one folder's photographs.
using NamesByPhotograph = std::map<std::string, std::string>;

NamesByPhotograph NamesOfFolder(const std::vector<std::string>& photographs,
                                const ManyOptions& options) {
    NamesByPhotograph named;
    if (options.onConflict == ConflictChoice::Rename) {
        for (const std::string& photograph : photographs) {
            named[photograph] = std::filesystem::path(photograph).stem().native() + options.ending;
        }
        return named;
    }
    const std::vector<std::string> names = SceneNames(photographs, options.ending);
    for (std::size_t i = 0; i < names.size(); ++i) named[photographs[i]] = names[i];
    return named;
}

ConversionList ListFolder(const ManyOptions& options) {
    FoundPhotographs found =
        FindPhotographs(options.inputDir, options.isRecursive, options.outputDir);
    std::map<std::filesystem::path, std::vector<std::string>> folders;
    for (const std::filesystem::path& photograph : found.photographs) {
        folders[photograph.parent_path()].push_back(photograph.filename());
    }
    std::map<std::filesystem::path, NamesByPhotograph> names;
    for (const auto& [folder, photographs] : folders) {
        names[folder] = NamesOfFolder(photographs, options);
    }
    ConversionList list;
    list.unread = std::move(found.unread);
    for (const std::filesystem::path& photograph : found.photographs) {
        const std::filesystem::path folder = photograph.parent_path();
        const std::string& scene = names[folder][photograph.filename()];
        list.files.push_back({.input = options.inputDir / photograph,
                              .output = options.outputDir / folder / scene,
                              .name = photograph});
    }
    return list;
}

// The photographs beside one that the command line names.
std::set<std::string> Neighbours(const std::filesystem::path& photograph) {
    const std::filesystem::path folder =
        photograph.has_parent_path() ? photograph.parent_path() : ".";
    std::set<std::string> names;
    for (const std::filesystem::path& name : FindPhotographs(folder, false, {}).photographs) {
        names.insert(name);
    }
    return names;
}

ConversionList ListFiles(const ManyOptions& options) {
    std::map<std::filesystem::path, std::set<std::string>> folders;
    ConversionList list;
    for (const std::filesystem::path& input : options.files) {
        list.files.push_back({.input = input, .name = input, .isScene = IsSceneFile(input)});
        if (list.files.back().isScene) continue;
        const auto [folder, isNew] = folders.try_emplace(input.parent_path());
        if (isNew) folder->second = Neighbours(input);
        folder->second.insert(input.filename());  // whatever its ending
    }
    std::map<std::filesystem::path, NamesByPhotograph> names;
    for (const auto& [folder, photographs] : folders) {
        names[folder] = NamesOfFolder({photographs.begin(), photographs.end()}, options);
    }
    std::set<std::filesystem::path> outputs;
    for (ListedFile& file : list.files) {
        const std::string name = file.isScene
                                     ? NameWithoutEnding(file.input).native() + options.ending
                                     : names[file.input.parent_path()][file.input.filename()];
        file.output = options.outputDir / name;
        const bool isNew = outputs.insert(file.output).second;
        if (isNew || options.onConflict == ConflictChoice::Rename) continue;
        throw WrongList(file.name + " and a file before it would both become " +
                        file.output.native() + ".");
    }
    return list;
}

// Which file it is, under whatever name; nothing where there is none. Throws
// std::filesystem::filesystem_error when the disk does not tell.
std::optional<std::pair<dev_t, ino_t>> Identity(const std::filesystem::path& path) {
    struct stat status{};
    if (stat(path.c_str(), &status) != 0) {
        const std::error_code error(errno, std::generic_category());
        if (error != std::errc::io_error) return std::nullopt;
        throw std::filesystem::filesystem_error("cannot look at file", path, error);
    }
    return std::pair(status.st_dev, status.st_ino);
}

}  // namespace

ConversionList ListConversions(const ManyOptions& options) {
    return options.inputDir.empty() ? ListFiles(options) : ListFolder(options);
}

void TakePart(const ListPart& part, std::vector<ListedFile>& files) {
    std::vector<ListedFile> taken;
    for (std::size_t i = part.number - 1; i < files.size(); i += part.count) {
        taken.push_back(std::move(files[i]));
    }
    files = std::move(taken);
}

bool IsThere(const std::filesystem::path& output) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(output, error);
    if (error == std::errc::io_error) {
        throw std::filesystem::filesystem_error("cannot look at file", output, error);
    }
    // Of a name that cannot be used, and of a folder, the writing tells better what is wrong.
    return std::filesystem::status_known(status) && std::filesystem::exists(status) &&
           !std::filesystem::is_directory(status);
}

std::filesystem::path OutputThatIsAnInput(const std::vector<ListedFile>& files,
                                          const std::filesystem::path& model) {
    std::set<std::pair<dev_t, ino_t>> inputs;
    if (const auto identity = Identity(model)) inputs.insert(*identity);
    for (const ListedFile& file : files) {
        if (const auto identity = Identity(file.input)) inputs.insert(*identity);
    }
    for (const ListedFile& file : files) {
        const auto identity = Identity(file.output);
        if (identity && inputs.contains(*identity)) return file.output;
    }
    return {};
}

}  // namespace vistrel
