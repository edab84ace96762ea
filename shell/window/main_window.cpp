// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QMimeData>
#include <QResizeEvent>
#include <QScreen>
#include <QStyle>
#include <QUrl>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/scene_kind.h"
#include "base/text_encoding.h"
#include "shell/window/file_url.h"
#include "shell/window/main_menu.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"
#include "shell/window/window_messages.h"
#include "ui/mailbox.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

std::unique_ptr<WindowDialogs> MakeDialogs(const MainWindowServices& services, QWidget* owner) {
    if (services.makeDialogs) return services.makeDialogs(owner);
    return std::make_unique<DesktopDialogs>(owner);
}

AppSettings LoadedSettings() {
    AppSettings settings;
    settings.Load();
    return settings;
}

// The theme comes before the first widget.
QWidget* MakeClient(QWidget* window) {
    ApplyTheme();
    return new QWidget(window);
}

// What a desktop's frame adds to a window, about; it is known only once the window is shown.
QSize UsualFrame(const QStyle& style) {
    const int edge = style.pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    return {2 * edge, edge + style.pixelMetric(QStyle::PM_TitleBarHeight)};
}

// What the sidebar leaves of the client.
QRect ViewerBounds(const QSize& client, int left) {
    return {left, 0, std::max(0, client.width() - left), client.height()};
}

// Whatever is proposed: who moves a file would delete it where it was.
void AcceptCopy(QDropEvent& event) {
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

}  // namespace

MainWindow::MainWindow(std::wstring webDir, std::wstring appDir, MainWindowServices services)
    : services_(std::move(services)),
      appDir_(std::move(appDir)),
      settings_(LoadedSettings()),
      engine_(std::make_shared<ConversionEngine>(services_.providers)),
      downloader_(std::make_shared<ModelDownloader>(services_.modelUrl)),
      mailbox_(Mailbox::Make(this)),
      dialogs_(MakeDialogs(services_, this)),
      client_(MakeClient(this)),
      sidebar_(new Sidebar(client_, settings_)),
      viewer_(client_, sidebar_, std::move(webDir), services_.browser),
      frame_(*this, [this] { return MakeMenu(); }),
      generate_(engine_, settings_, *sidebar_, *dialogs_, mailbox_),
      download_(downloader_, settings_, *sidebar_, *dialogs_, mailbox_) {
    OnCreate();
}

MainWindow::~MainWindow() {
    mailbox_->Close();
    client_->removeEventFilter(this);  // no news of the parts as they go
}

void MainWindow::OnCreate() {
    setWindowTitle("Vistrel");
    resize(FirstWindowSize(screen()->availableSize(), UsualFrame(*style())));
    setAcceptDrops(true);
    setCentralWidget(client_);
    client_->installEventFilter(this);
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { Destroy(); });

    generate_.providers = services_.providers;
    sidebar_->onCommand = [this](ControlId id, int value) { OnCommand(id, value); };
    generate_.onScene = [this](const std::wstring& path) {
        settings_.isSharpMode = true;
        sidebar_->SetViewMode(true);
        LoadScene(path);
    };
    download_.onModel = [this] { UpdateModelDisplay(); };
    ConnectViewer();

    UpdateViewerControls();
    frame_.BuildMenu();
    UpdateMenuState();
    setFocus();  // keys act at once, and no button looks chosen

    layout()->activate();
    viewer_.Prepare(ViewerBounds(client_->size(), Sidebar::kWidth));
    UpdateModelDisplay();
}

// The browser takes as long to load as all the rest of the start, in which nothing is drawn.
void MainWindow::OnShown() {
    if (destroyed_) return;
    viewer_.Start([mailbox = mailbox_](bool ready) {
        mailbox->Post(std::make_unique<WindowMessage>(kWebViewReadyMessage, ready ? 1 : 0));
    });
    // A message box may have been open in there.
    if (!destroyed_ && services_.answerDesktop) desktop_ = services_.answerDesktop(*this);
}

void MainWindow::ConnectViewer() {
    // What a page has saved may be of another window, or of none.
    viewer_.onPageLoaded = [this] { PassStereo(); };
    viewer_.onFailure = [this](const std::wstring& text) {
        viewerFailure_ = text;
        sidebar_->ShowStatus(text);
    };
}

MainMenu* MainWindow::MakeMenu() {
    return new MainMenu(
        this, [this](ControlId id) { OnCommand(id); }, [this] { UpdateMenuState(); },
        [this] { setFocus(); });
}

std::shared_ptr<Mailbox> MainWindow::Messages() const {
    return mailbox_;
}

bool MainWindow::HasRunningWorker() const {
    return engine_->busy || downloader_->busy || viewer_.IsReading();
}

bool MainWindow::TakeFiles(const QList<QUrl>& addresses) {
    const std::optional<std::wstring> file = FirstFile(addresses);
    if (!file) return false;
    SelectFile(*file);
    viewer_.UpdateVisibility();
    return true;
}

void MainWindow::SelectFile(const std::wstring& path) {
    const std::filesystem::path file = ToPath(path);
    if (IsSceneName(file)) {
        LoadScene(path);
        return;
    }
    sidebar_->WithdrawStatus(viewerFailure_);
    generate_.inputImagePath = path;
    sidebar_->ShowInput(FromPath(file.filename()));
    settings_.outputFilename = FromPath(file.stem()) + L".ply";
    viewer_.ShowPhotograph(path);
    UpdateViewerControls();
    UpdateMenuState();
    UpdateModelDisplay();
}

void MainWindow::LoadScene(const std::wstring& path) {
    Reset();
    sidebar_->WithdrawStatus(viewerFailure_);
    viewer_.ShowScene(path, settings_.isSharpMode);
    UpdateViewerControls();
    UpdateMenuState();
}

void MainWindow::UpdateModelDisplay() {
    download_.ShowModel();
    generate_.UpdateButton();
}

void MainWindow::UpdateViewerControls() {
    sidebar_->ShowViewerControls(viewer_.SceneLoaded());
}

void MainWindow::UpdateMenuState() {
    if (frame_.Menu() == nullptr) return;
    frame_.Menu()->UpdateMenuState({viewer_.SceneLoaded(), !sidebarHidden_, frame_.IsFullScreen(),
                                    settings_.isSharpMode, settings_.stereoMode});
}

void MainWindow::Layout(int width, int height) {
    sidebar_->setVisible(!sidebarHidden_);
    sidebar_->setGeometry(0, 0, Sidebar::kWidth, height);
    viewer_.SetBounds(ViewerBounds({width, height}, sidebarHidden_ ? 0 : Sidebar::kWidth));
}

void MainWindow::ToggleSidebar() {
    sidebarHidden_ = !sidebarHidden_;
    Layout(client_->width(), client_->height());
    if (!sidebarHidden_) {
        UpdateModelDisplay();
        UpdateViewerControls();
    }
    UpdateMenuState();
}

void MainWindow::ToggleFullScreen() {
    frame_.ToggleFullScreen();
    UpdateMenuState();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == client_ && event->type() == QEvent::Resize) {
        const QSize size = static_cast<QResizeEvent*>(event)->size();
        Layout(size.width(), size.height());
    }
    if (watched == windowHandle() && event->type() == QEvent::Expose && !shown_) {
        shown_ = windowHandle()->isExposed();
        // Its picture is drawn on this event.
        if (shown_) QMetaObject::invokeMethod(this, [this] { OnShown(); }, Qt::QueuedConnection);
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    windowHandle()->installEventFilter(this);
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) return;
    frame_.OnStateChange();
    UpdateMenuState();
}

void MainWindow::customEvent(QEvent* event) {
    const auto& message = *static_cast<WindowMessage*>(event);
    switch (static_cast<int>(event->type())) {
        case kKeyDownMessage:
            return OnKeyDown(static_cast<int>(message.Value()));
        case kGenerateProgressMessage:
            return generate_.OnProgress(message);
        case kGenerateDoneMessage:
            return generate_.OnDone(message);
        case kModelFileErrorMessage:
            return download_.OnModelFileError(message);
        case kDownloadProgressMessage:
            return download_.OnProgress(message);
        case kDownloadDoneMessage:
            return download_.OnDone(message);
        case kWebViewReadyMessage:
            viewer_.SetReady(message.Value() != 0);
            if (!viewer_.IsReady()) sidebar_->ShowStatus(Text(TextId::WebViewFailed));
            return UpdateMenuState();
        default:
            return;
    }
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    // As on any desktop; the menu bar itself knows Alt only.
    if (event->key() == Qt::Key_F10 && frame_.Menu() != nullptr) {
        frame_.Menu()->setActiveAction(frame_.Menu()->actions().first());
        return;
    }
    OnKeyDown(event->key());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (DroppedFile(*event->mimeData())) AcceptCopy(*event);
}

void MainWindow::dropEvent(QDropEvent* event) {
    if (TakeFiles(event->mimeData()->urls())) AcceptCopy(*event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    Destroy();
    event->accept();
}

void MainWindow::Destroy() {
    if (std::exchange(destroyed_, true)) return;
    desktop_.reset();
    generate_.Stop();
    settings_.Save();
    mailbox_->Close();
    viewer_.FinishCaptures();
    hide();
    QCoreApplication::exit(0);  // leaves the loops of open dialogs, too
}

}  // namespace vistrel
