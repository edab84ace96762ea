#include "viewer/loader/host_window.h"

#include <QOpenGLWidget>
#include <QWidget>

namespace vistrel::loader {

void PrepareHostWindow(QWidget& host) {
    if (host.window()->windowHandle() != nullptr) return;
    auto* const part = new QOpenGLWidget(&host);
    part->hide();
}

}  // namespace vistrel::loader
