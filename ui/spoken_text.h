// What a screen reader says for a text that is made for the eye.
#pragma once

#include <QString>

namespace vistrel {

// Without mnemonics, and without the symbols and dashes around it. Any thread.
[[nodiscard]] QString SpokenText(QString shown);

}  // namespace vistrel
