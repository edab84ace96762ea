# vistrel_precompile(TARGET [REUSE_FROM OTHER]): reads the headers that most files with windows include
# only once, which halves the time that their compilation takes. Under the sanitizers only: the
# release is compiled without, so a file that misses one of its includes is found there.
function(vistrel_precompile target)
  if(NOT VISTREL_SANITIZE)
    return()
  endif()
  if(ARGN)
    target_precompile_headers(${target} ${ARGN})
    return()
  endif()
  target_precompile_headers(
    ${target}
    PRIVATE
    <algorithm>
    <filesystem>
    <functional>
    <memory>
    <optional>
    <string>
    <string_view>
    <system_error>
    <utility>
    <vector>
    <QApplication>
    <QByteArray>
    <QEvent>
    <QImage>
    <QLabel>
    <QMessageBox>
    <QPainter>
    <QPointer>
    <QPushButton>
    <QString>
    <QTimer>
    <QWidget>)
endfunction()
