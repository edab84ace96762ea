// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/file_url.h"

#include <QMimeData>
#include <QUrl>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {

QUrl FileUrl(const std::filesystem::path& file) {
    const QByteArray name = QByteArray::fromStdString(file.native());
    return QUrl::fromEncoded("file://" + name.toPercentEncoding("/"));
}

std::optional<std::wstring> DroppedFile(const QMimeData& dropped) {
    for (const QUrl& url : dropped.urls()) {
        const bool ofThisHost = url.host().isEmpty() || url.host() == "localhost";
        if (!url.isLocalFile() || !ofThisHost) continue;
        const QByteArray name =
            QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
        std::wstring path =
            FromUtf8(std::string_view(name.data(), static_cast<std::size_t>(name.size())));
        std::error_code unknown;
        if (!std::filesystem::is_directory(ToPath(path), unknown)) return path;
    }
    return std::nullopt;
}

}  // namespace vistrel
