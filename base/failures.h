// SPDX-License-Identifier: GPL-3.0-or-later
// What the drawing code cannot go on from. Where there are exceptions these throw them; in
// WebAssembly, where there are none, they end the module's run.
#pragma once

namespace vistrel {

[[noreturn]] void FailForMemory();                    // std::bad_alloc
[[noreturn]] void FailForLength(const char* what);    // std::length_error
[[noreturn]] void FailForArgument(const char* what);  // std::invalid_argument

}  // namespace vistrel
