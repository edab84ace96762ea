// SPDX-License-Identifier: GPL-3.0-or-later
// Files and the addresses by which other programs know them, byte for byte: a QString cannot hold
// every name of a file.
#pragma once

#include <QList>
#include <filesystem>
#include <optional>
#include <string>

class QMimeData;
class QUrl;

namespace vistrel {

[[nodiscard]] QUrl FileUrl(const std::filesystem::path& file);

// Path of the first local file; folders, and addresses of anything else, are passed over.
[[nodiscard]] std::optional<std::wstring> FirstFile(const QList<QUrl>& addresses);
// That of what somebody drops on the window.
[[nodiscard]] std::optional<std::wstring> DroppedFile(const QMimeData& dropped);

}  // namespace vistrel
