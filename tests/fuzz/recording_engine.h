// SPDX-License-Identifier: GPL-3.0-or-later
// In the place of the engine: writes down what it is told to convert, and writes a scene that names
// its photograph. A program that links this gets nothing of the real engine's class.
#pragma once

#include <functional>
#include <string>

namespace vistrel::fuzz {

// Called before every conversion.
using ConversionWatcher =
    std::function<void(const std::string& photograph, const std::string& scene)>;

void WatchConversions(ConversionWatcher watcher);

// What a conversion of `photograph` writes.
[[nodiscard]] std::string RecordedScene(const std::string& photograph);

}  // namespace vistrel::fuzz
