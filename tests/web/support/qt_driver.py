# SPDX-License-Identifier: GPL-3.0-or-later
"""Drives QtWebEngine for the page's tests.

Reads one JSON command a line from standard input and answers each with one JSON line; console lines
and script dialogs of the page come as lines of their own, marked as events.
"""

import base64
import json
import sys
import threading

from PyQt6.QtCore import QBuffer, QIODevice, QObject, QUrl, pyqtSignal
from PyQt6.QtWebEngineCore import QWebEnginePage, QWebEngineProfile, QWebEngineScript
from PyQt6.QtWebEngineWidgets import QWebEngineView
from PyQt6.QtWidgets import QApplication


# The display runs behind the page: this many animation frames later it shows what was drawn.
FRAMES_BEHIND = 6
SHOWN = "(the display has caught up)"
CATCH_UP = """(() => {
    let frames = %d;
    const next = () => {
        frames -= 1;
        if (frames < 0) console.log(%s); else window.displayFrame(next);
    };
    next();
})()""" % (FRAMES_BEHIND, json.dumps(SHOWN))


def say(**message):
    sys.stdout.write(json.dumps(message) + "\n")
    sys.stdout.flush()


class Page(QWebEnginePage):
    shown = pyqtSignal()

    def javaScriptConsoleMessage(self, level, message, line, source):
        if message == SHOWN:
            self.shown.emit()
            return
        say(event="console", text=message)

    def javaScriptAlert(self, origin, message):
        say(event="alert", text=message)


class Driver(QObject):
    command = pyqtSignal(str)

    def __init__(self):
        super().__init__()
        # Without a name the profile keeps nothing on disk.
        self.profile = QWebEngineProfile()
        self.page = Page(self.profile)
        self.view = QWebEngineView()
        self.view.setPage(self.page)
        self.page.loadFinished.connect(self.loaded)
        self.page.shown.connect(self.shown)
        self.waiting = None
        self.command.connect(self.run)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in sys.stdin:
            self.command.emit(line)
        self.command.emit('{"method": "quit", "id": 0}')

    def run(self, line):
        message = json.loads(line)
        getattr(self, "do_" + message["method"])(message["id"], message.get("params", {}))

    def do_prepare(self, id, params):
        script = QWebEngineScript()
        script.setSourceCode(params["script"])
        script.setInjectionPoint(QWebEngineScript.InjectionPoint.DocumentCreation)
        script.setWorldId(QWebEngineScript.ScriptWorldId.MainWorld)
        self.profile.scripts().clear()
        self.profile.scripts().insert(script)
        self.view.resize(params["width"], params["height"])
        self.view.show()
        say(id=id)

    def do_goto(self, id, params):
        self.waiting = id
        self.page.load(QUrl(params["url"]))

    def loaded(self, ok):
        if self.waiting is not None:
            id, self.waiting = self.waiting, None
            say(id=id, ok=ok)

    def do_evaluate(self, id, params):
        self.page.runJavaScript(params["expression"], lambda value: say(id=id, value=value))

    def do_screenshot(self, id, params):
        self.waiting = id
        self.page.runJavaScript(CATCH_UP)

    def shown(self):
        id, self.waiting = self.waiting, None
        buffer = QBuffer()
        buffer.open(QIODevice.OpenModeFlag.WriteOnly)
        self.view.grab().save(buffer, "PNG")
        say(id=id, png=base64.b64encode(bytes(buffer.data())).decode())

    def do_quit(self, id, params):
        # Storage is kept only when view, page and profile end in this order.
        self.view.close()
        del self.view
        del self.page
        del self.profile
        QApplication.quit()


if __name__ == "__main__":
    application = QApplication(sys.argv)
    driver = Driver()
    sys.exit(application.exec())
