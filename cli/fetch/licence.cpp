// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/licence.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "cli/command.h"

namespace vistrel {

std::optional<int> RefusalOfLicence() {
    Tell(
        "The weights of SHARP are for research use only, under their makers' licence. They are no\n"
        "part of Vistrel. Read that licence before you use them or what they make:\n"
        "https://huggingface.co/pearsonkyle/Sharp-onnx");
    if (isatty(STDIN_FILENO) != 1) {
        Tell("Nobody can be asked here: --accept-licence says that you agree to it.");
        return kWrongUsage;
    }
    std::fputs("Do you agree to it? [y/N] ", stderr);
    std::string answer;
    std::getline(std::cin, answer);
    if (answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes") return std::nullopt;
    Tell("Nothing was fetched.");
    return EXIT_FAILURE;
}

}  // namespace vistrel
