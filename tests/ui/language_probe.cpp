// SPDX-License-Identifier: GPL-3.0-or-later
// Says whether a program that starts now speaks Japanese.
#include <cstdio>

#include "ui/language.h"

int main() {
    std::fputs(vistrel::IsJapaneseUser() ? "Japanese" : "other", stdout);
    return 0;
}
