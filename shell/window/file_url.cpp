// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/file_url.h"

#include <unistd.h>

#include <QMimeData>
#include <QUrl>
#include <array>
#include <climits>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

// Some file managers name the computer, as the rules for such addresses want it.
bool IsThisHost(const QString& host) {
    std::array<char, HOST_NAME_MAX + 1> name{};
    const bool isKnown = gethostname(name.data(), name.size()) == 0;
    return host.isEmpty() || host == "localhost" ||
           (isKnown && host.compare(QString::fromLocal8Bit(name.data()), Qt::CaseInsensitive) == 0);
}

}  // namespace

QUrl FileUrl(const std::filesystem::path& file) {
    const QByteArray name = QByteArray::fromStdString(file.native());
    return QUrl::fromEncoded("file://" + name.toPercentEncoding("/"));
}

std::optional<std::wstring> FirstFile(const QList<QUrl>& addresses) {
    for (const QUrl& url : addresses) {
        if (!url.isLocalFile() || !IsThisHost(url.host())) continue;
        const QByteArray name =
            QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
        std::wstring path =
            FromUtf8(std::string_view(name.data(), static_cast<std::size_t>(name.size())));
        std::error_code unknown;
        if (!std::filesystem::is_directory(ToPath(path), unknown)) return path;
    }
    return std::nullopt;
}

std::optional<std::wstring> DroppedFile(const QMimeData& dropped) {
    return FirstFile(dropped.urls());
}

}  // namespace vistrel
