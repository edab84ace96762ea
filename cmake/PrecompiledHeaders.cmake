# SPDX-License-Identifier: GPL-3.0-or-later
# What most files include, read once instead of each time. Every list is compiled by one target, and
# the others reuse it: vistrel_ui for code with windows, the mains in tests/support for tests. Files still
# include all they use; scripts/check reads each without these.
set(VISTREL_STANDARD_HEADERS
    <algorithm>
    <array>
    <cmath>
    <cstddef>
    <cstdint>
    <cstdlib>
    <filesystem>
    <fstream>
    <functional>
    <limits>
    <memory>
    <optional>
    <stdexcept>
    <string>
    <string_view>
    <system_error>
    <thread>
    <utility>
    <vector>)
set(VISTREL_QT_HEADERS
    ${VISTREL_STANDARD_HEADERS}
    <QApplication>
    <QByteArray>
    <QComboBox>
    <QEvent>
    <QImage>
    <QLabel>
    <QLineEdit>
    <QMessageBox>
    <QPainter>
    <QPointer>
    <QProgressBar>
    <QPushButton>
    <QRadioButton>
    <QString>
    <QTimer>
    <QUrl>
    <QWidget>)
