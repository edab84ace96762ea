// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/file_url.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QMimeData>
#include <QUrl>
#include <array>
#include <optional>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

std::optional<std::wstring> Dropped(const QByteArray& list) {
    QMimeData data;
    data.setData("text/uri-list", list);
    return DroppedFile(data);
}

TEST(FileUrl, NameComesBackByteForByte) {
    const std::string name = "/my photos/\xe5\x86\x99#%?\xff\n.jpg";
    EXPECT_EQ(ToPath(Dropped(FileUrl(name).toEncoded()).value()), name);
}

TEST(DroppedFile, FirstOfSeveralIsTaken) {
    EXPECT_EQ(Dropped("file:///a/b.jpg\r\nfile:///c.ply\r\n"), L"/a/b.jpg");
}

TEST(DroppedFile, NameComesWithoutItsEscapes) {
    EXPECT_EQ(Dropped("file:///my%20photos/%E5%86%99%E7%9C%9F%23%25.jpg"),
              L"/my photos/写真#%.jpg");
}

TEST(DroppedFile, NameThatIsNoUtf8KeepsItsBytes) {
    EXPECT_EQ(Dropped("file:///caf%E9.jpg"), FromUtf8("/caf\xE9.jpg"));
}

TEST(DroppedFile, AddressOfALocalHostIsAFile) {
    EXPECT_EQ(Dropped("file://localhost/a.jpg"), L"/a.jpg");
}

TEST(DroppedFile, AddressOfThisHostByItsNameIsAFile) {
    std::array<char, 256> name{};
    ASSERT_EQ(gethostname(name.data(), name.size()), 0);
    const QByteArray host(name.data());
    EXPECT_EQ(Dropped("file://" + host + "/my%20a.jpg"), L"/my a.jpg");
    EXPECT_EQ(Dropped("file://" + host.toUpper() + "/a.jpg"), L"/a.jpg");
    EXPECT_EQ(Dropped("file://" + host + "x/a.jpg"), std::nullopt);
}

TEST(DroppedFile, FileOfAnotherHostIsPassedOver) {
    EXPECT_EQ(Dropped("file://elsewhere/a.jpg"), std::nullopt);
}

TEST(DroppedFile, WebAddressIsPassedOver) {
    EXPECT_EQ(Dropped("https://example.org/a.jpg\r\nfile:///b.jpg"), L"/b.jpg");
    EXPECT_EQ(Dropped("https://example.org/a.jpg"), std::nullopt);
}

TEST(DroppedFile, FolderIsPassedOver) {
    const test::TemporaryFolder folder;
    const QByteArray address =
        QUrl::fromLocalFile(QString::fromStdString(folder.Path().string())).toEncoded();
    EXPECT_EQ(Dropped(address), std::nullopt);
    EXPECT_EQ(Dropped(address + "\r\nfile:///a.jpg"), L"/a.jpg");
}

TEST(DroppedFile, TextIsNoFile) {
    QMimeData data;
    data.setText("file:///a.jpg");
    EXPECT_EQ(DroppedFile(data), std::nullopt);
}

}  // namespace
}  // namespace vistrel
