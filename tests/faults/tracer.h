// SPDX-License-Identifier: GPL-3.0-or-later
// A command and all that it starts, stopped before each of its calls that touch files.
#pragma once

#include <functional>
#include <stdexcept>

#include "tests/faults/file_call.h"

namespace vistrel::test {

enum class Verdict { kPass, kFail, kHalf, kUnknown, kKill };

// The system lets nobody trace.
class NoTracing : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Runs the command, a list that ends with a null pointer, until it and its children have ended.
// `judge` hears of every call, from whichever thread, in their order. A failing call does nothing
// and returns its error, unless it is one whose work is done in any case; kHalf lets a call that
// moves bytes move half of them; kUnknown is a file system that does not know such a call; kKill
// ends the process before it. Returns the command's exit status, or 128 + the signal that ended it.
// Throws NoTracing, std::system_error.
int RunTraced(char* const* command, const std::function<Verdict(const FileCall&)>& judge);

}  // namespace vistrel::test
