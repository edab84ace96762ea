// The file that somebody drops on the window.
#pragma once

#include <optional>
#include <string>

class QMimeData;

namespace vistrel {

// Path of the first local file; folders, and addresses of anything else, are passed over.
[[nodiscard]] std::optional<std::wstring> DroppedFile(const QMimeData& dropped);

}  // namespace vistrel
