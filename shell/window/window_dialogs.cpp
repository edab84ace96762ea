// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/window_dialogs.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <filesystem>
#include <system_error>

#include "base/scene_kind.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "shell/window/file_url.h"
#include "ui/file_dialog.h"
#include "ui/language.h"
#include "ui/ui_text.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

// Shown in every language.
constexpr const wchar_t* kHelpFailure = L"ヘルプファイルを開けませんでした。";

QStringList PhotographAndSceneFilters(bool japanese) {
    const QString photographs = "*.jpg *.jpeg *.png *.bmp *.tif *.tiff";
    QStringList scenePatterns;
    for (const std::string_view ending : kSceneEndings) {
        scenePatterns +=
            '*' + QString::fromLatin1(ending.data(), static_cast<qsizetype>(ending.size()));
    }
    const QString scenes = scenePatterns.join(' ');
    const auto filter = [japanese](const char* english, const char* translated,
                                   const QString& patterns) {
        return QString::fromUtf8(japanese ? translated : english) + " (" + patterns + ')';
    };
    return {filter("Images & 3DGS", "画像 & 3DGS", photographs + ' ' + scenes),
            filter("Images", "画像", photographs), filter("3DGS Files", "3DGSファイル", scenes),
            filter("All Files", "すべてのファイル", "*")};
}

// Qt would not tell how the desktop's opener fares. It may last as long as the browser that it
// starts, longer than this program, so it is nobody's child here: ended by nobody but itself.
void OpenAddress(QWidget* owner, const QUrl& address, const std::function<void()>& onFailure) {
    const QString program = QStandardPaths::findExecutable("xdg-open");
    if (program.isEmpty()) {
        if (!QDesktopServices::openUrl(address)) onFailure();
        return;
    }
    auto* const opener = new QProcess;
    opener->setProcessChannelMode(QProcess::ForwardedChannels);
    opener->setStandardInputFile(QProcess::nullDevice());
    const auto goes = [opener] { opener->deleteLater(); };
    QObject::connect(opener, &QProcess::finished, opener, goes);
    QObject::connect(opener, &QProcess::errorOccurred, opener, goes);
    QObject::connect(opener, &QProcess::finished, owner,
                     [onFailure](int exitCode, QProcess::ExitStatus status) {
                         if (exitCode != 0 || status != QProcess::NormalExit) onFailure();
                     });
    QObject::connect(opener, &QProcess::errorOccurred, owner,
                     [onFailure](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) onFailure();
                     });
    opener->start(program, {QString::fromLatin1(address.toEncoded())});
}

int Show(QWidget* owner, QMessageBox::Icon icon, const QString& caption, const wchar_t* text,
         QMessageBox::StandardButtons buttons) {
    // On the heap, since the owner takes it along when it goes.
    const QPointer<QMessageBox> box(new QMessageBox(icon, caption, FromWide(text), buttons, owner));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    delete box;
    return answer;
}

}  // namespace

DesktopDialogs::DesktopDialogs(QWidget* owner)
    : openAddress([owner](const QUrl& address, const std::function<void()>& onFailure) {
          OpenAddress(owner, address, onFailure);
      }),
      isJapaneseUser(IsJapaneseUser),
      owner_(owner) {}

std::optional<std::wstring> DesktopDialogs::Ask(FileQuestion question) {
    if (question.folder.empty()) question.folder = lastFolder_;
    std::optional<std::wstring> chosen = AskFile(owner_, question);
    if (chosen) lastFolder_ = FromPath(ToPath(*chosen).parent_path());
    return chosen;
}

std::optional<std::wstring> DesktopDialogs::AskPhotographOrScene() {
    FileQuestion question;
    question.filters = PhotographAndSceneFilters(isJapaneseUser());
    return Ask(question);
}

std::optional<std::wstring> DesktopDialogs::AskModel(const std::wstring& modelPath) {
    FileQuestion question;
    question.filters = {"ONNX Model (*.onnx)", "All Files (*)"};
    question.file = modelPath;
    if (modelPath.empty()) {
        const std::filesystem::path folder = ToPath(ModelFile()).parent_path();
        std::error_code ignored;  // the dialog shows the nearest folder then
        std::filesystem::create_directories(folder, ignored);
        question.folder = FromPath(folder);
    }
    return Ask(question);
}

std::optional<std::wstring> DesktopDialogs::AskPictureToSave() {
    FileQuestion question;
    question.save = true;
    question.filters = {"PNG Image (*.png)", "JPEG Image (*.jpg)"};
    question.file = L"rendering.png";
    question.suffix = "png";
    return Ask(question);
}

std::optional<std::wstring> DesktopDialogs::AskSceneToSave(const std::wstring& proposal,
                                                           const std::wstring& folder) {
    FileQuestion question;
    question.save = true;
    question.filters = {"PLY Files (*.ply)", "All Files (*)"};
    question.folder = folder;
    question.file = proposal;
    question.suffix = "ply";
    return Ask(question);
}

bool DesktopDialogs::AskWhetherToDownload() {
    return Show(owner_, QMessageBox::Question, UiString(TextId::DownloadCaption),
                Text(TextId::DownloadQuestion),
                QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

void DesktopDialogs::TellProviderFallback() {
    Show(owner_, QMessageBox::Warning, UiString(TextId::FallbackCaption),
         Text(TextId::FallbackWarning), QMessageBox::Ok);
}

void DesktopDialogs::TellAbout() {
    Show(owner_, QMessageBox::Information, UiString(TextId::AboutCaption), Text(TextId::About),
         QMessageBox::Ok);
}

void DesktopDialogs::OpenHelp(const std::wstring& appDir) {
    const wchar_t* name = isJapaneseUser() ? L"help_jp.html" : L"help_en.html";
    const std::filesystem::path page = ToPath(appDir + L'/' + name);
    const auto tell = [owner = owner_] {
        Show(owner, QMessageBox::Critical, "Vistrel", kHelpFailure, QMessageBox::Ok);
    };
    std::error_code ignored;
    if (!std::filesystem::exists(page, ignored)) return tell();
    openAddress(FileUrl(page), tell);
}

}  // namespace vistrel
