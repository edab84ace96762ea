// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/chosen_network.h"

#include <filesystem>
#include <stdexcept>

#include "cli/chosen_model.h"
#include "cli/command.h"

namespace vistrel {

bool FindNetwork(ConvertOptions& options) {
    if (!options.model.empty()) return true;
    options.model = ChosenModel();
    if (options.model.empty()) {
        Tell(
            "No network is chosen: name one with --model, or choose one in the window of Vistrel.");
        return false;
    }
    if (std::filesystem::exists(options.model)) return true;
    throw std::runtime_error(options.model +
                             ", the network that is chosen in the window, is missing: name another "
                             "with --model, or choose one there.");
}

}  // namespace vistrel
