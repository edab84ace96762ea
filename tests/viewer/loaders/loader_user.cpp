// SPDX-License-Identifier: GPL-3.0-or-later
// Loads the loader library as often as asked: loader_user TIMES. Says what it got.
#include <cstdio>
#include <cstdlib>

#include "viewer/web_view_loader.h"

int main(int /*argc*/, char** argv) {
    for (int times = std::atoi(argv[1]); times > 0; --times) {
        const auto factory = vistrel::LoadWebViewFactory();
        if (factory == nullptr) {
            std::puts("missing");
        } else {
            factory(L"", {}, {});
        }
    }
    return 0;
}
