// SPDX-License-Identifier: GPL-3.0-or-later
// Extracts what the program carries: extract FOLDER, which stands for the program's own.
#include "shell/start/extraction.h"

#include "base/text_encoding.h"

int main(int count, char** arguments) {
    return count == 2 && vistrel::ExtractResources(vistrel::FromUtf8(arguments[1])) ? 0 : 1;
}
