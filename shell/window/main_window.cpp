#include "shell/window/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QMimeData>
#include <algorithm>
#include <utility>

#include "base/scene_kind.h"
#include "base/text_encoding.h"
#include "shell/window/file_url.h"
#include "shell/window/main_window_parts.h"
#include "shell/window/window_messages.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

constexpr QSize kFirstSize(1200, 700);

std::unique_ptr<WindowDialogs> MakeDialogs(const MainWindowServices& services, QWidget* owner) {
    if (services.makeDialogs) return services.makeDialogs(owner);
    return std::make_unique<DesktopDialogs>(owner);
}

AppSettings LoadedSettings() {
    AppSettings settings;
    settings.Load();
    return settings;
}

}  // namespace

MainWindow::Parts::Parts(MainWindow* window, std::wstring webDir, std::wstring programDir,
                         MainWindowServices windowServices)
    : services(std::move(windowServices)),
      tempWebDir(std::move(webDir)),
      appDir(std::move(programDir)),
      settings(LoadedSettings()),
      engine(services.providers),
      downloader(services.modelUrl),
      mailbox(Mailbox::Make(window)),
      dialogs(MakeDialogs(services, window)),
      bridge(Text(TextId::LoaderMissing), services.browser),
      sceneLink(tempWebDir),
      client(new QWidget(window)),
      preview(new Preview(client)),
      sidebar(new Sidebar(client, settings)),
      viewerFocus(new FocusFrame(client, sidebar)),
      generate(engine, settings, *sidebar, *dialogs, mailbox),
      download(downloader, settings, *sidebar, *dialogs, mailbox) {}

MainWindow::MainWindow(std::wstring webDir, std::wstring appDir, MainWindowServices services) {
    ApplyTheme();
    parts_ =
        std::make_unique<Parts>(this, std::move(webDir), std::move(appDir), std::move(services));
    OnCreate();
}

MainWindow::~MainWindow() {
    parts_->mailbox->Close();
    parts_->client->removeEventFilter(this);  // no news of the parts as they go
}

void MainWindow::OnCreate() {
    setWindowTitle("Vistrel");
    resize(kFirstSize);
    setAcceptDrops(true);
    setCentralWidget(parts_->client);
    parts_->client->installEventFilter(this);
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { Destroy(); });

    parts_->generate.providers = parts_->services.providers;
    parts_->sidebar->onCommand = [this](ControlId id, int value) { OnCommand(id, value); };
    parts_->generate.onScene = [this](const std::wstring& path) {
        parts_->settings.isSharpMode = true;
        parts_->sidebar->SetViewMode(true);
        LoadScene(path);
    };
    parts_->download.onModel = [this] { UpdateModelDisplay(); };

    UpdateViewerControls();
    BuildMenu();
    setFocus();  // keys act at once, and no button looks chosen

    layout()->activate();
    const QSize area = parts_->client->size();
    parts_->bridge.Initialize(
        parts_->client,
        QRect(Sidebar::kWidth, 0, std::max(0, area.width() - Sidebar::kWidth), area.height()),
        parts_->tempWebDir, [mailbox = parts_->mailbox](bool ready) {
            mailbox->Post(std::make_unique<WindowMessage>(kWebViewReadyMessage, ready ? 1 : 0));
        });
    parts_->viewerFocus->raise();
    UpdateModelDisplay();
}

std::shared_ptr<Mailbox> MainWindow::Messages() const {
    return parts_->mailbox;
}

bool MainWindow::HasRunningWorker() const {
    return parts_->engine.busy || parts_->downloader.busy || parts_->preview->IsReading();
}

void MainWindow::SelectFile(const std::wstring& path) {
    const std::filesystem::path file = ToPath(path);
    if (IsSceneName(file)) {
        LoadScene(path);
        return;
    }
    parts_->generate.inputImagePath = path;
    parts_->sidebar->ShowInput(FromPath(file.filename()));
    parts_->settings.outputFilename = FromPath(file.stem()) + L".ply";
    parts_->sceneLoaded = false;
    parts_->preview->Show(path);
    parts_->bridge.SetVisible(false);
    UpdateViewerControls();
    UpdateMenuState();
    UpdateModelDisplay();
}

void MainWindow::LoadScene(const std::wstring& path) {
    parts_->sceneLoaded = true;
    Reset();
    parts_->currentScenePath = path;
    parts_->preview->Clear();
    parts_->bridge.SetVisible(true);
    parts_->bridge.ShowScene(parts_->sceneLink.PathFor(path), parts_->settings.isSharpMode);
    UpdateViewerControls();
    UpdateMenuState();
}

void MainWindow::UpdateModelDisplay() {
    parts_->download.ShowModel();
    parts_->generate.UpdateButton();
}

void MainWindow::UpdateViewerControls() {
    parts_->sidebar->ShowViewerControls(parts_->sceneLoaded);
}

void MainWindow::customEvent(QEvent* event) {
    const auto& message = *static_cast<WindowMessage*>(event);
    switch (static_cast<int>(event->type())) {
        case kKeyDownMessage:
            return OnKeyDown(static_cast<int>(message.Value()));
        case kGenerateProgressMessage:
            return parts_->generate.OnProgress(message);
        case kGenerateDoneMessage:
            return parts_->generate.OnDone(message);
        case kDownloadProgressMessage:
            return parts_->download.OnProgress(message);
        case kDownloadDoneMessage:
            return parts_->download.OnDone(message);
        case kWebViewReadyMessage:
            parts_->webViewReady = message.Value() != 0;
            if (!parts_->webViewReady) {
                parts_->sidebar->ShowStatus(Text(TextId::WebViewFailed));
            }
            return UpdateMenuState();
        default:
            return;
    }
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    // As on any desktop; the menu bar itself knows Alt only.
    if (event->key() == Qt::Key_F10 && parts_->menu != nullptr) {
        parts_->menu->setActiveAction(parts_->menu->actions().first());
        return;
    }
    OnKeyDown(event->key());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (DroppedFile(*event->mimeData())) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const std::optional<std::wstring> file = DroppedFile(*event->mimeData());
    if (!file) return;
    event->acceptProposedAction();
    SelectFile(*file);
    parts_->bridge.SetVisible(parts_->sceneLoaded);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    Destroy();
    event->accept();
}

void MainWindow::Destroy() {
    if (std::exchange(parts_->destroyed, true)) return;
    parts_->generate.Stop();
    parts_->settings.Save();
    parts_->mailbox->Close();
    hide();
    QCoreApplication::exit(0);  // leaves the loops of open dialogs, too
}

}  // namespace vistrel
