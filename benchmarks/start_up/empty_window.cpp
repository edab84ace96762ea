// SPDX-License-Identifier: GPL-3.0-or-later
// The least that a program with this browser can do: a window with nothing but the page of a file,
// which is named by its path.
#include <QApplication>
#include <QString>
#include <QUrl>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include "benchmarks/start_up/milestones.h"

int main(int argc, char** argv) {
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    const QApplication application(argc, argv);
    vistrel::Milestones milestones;
    qApp->installEventFilter(&milestones);

    QWebEngineProfile profile("empty");
    QWebEngineView view;
    QWebEnginePage page(&profile);
    view.setPage(&page);
    QObject::connect(&page, &QWebEnginePage::loadFinished, [&] { milestones.PageIsReady(); });
    page.load(QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1])));
    view.resize(1200, 700);
    view.show();
    const int code = QApplication::exec();
    view.setPage(nullptr);
    return code;
}
