# SPDX-License-Identifier: GPL-3.0-or-later
# Writes `runtime_packages` into the folder that was installed: the release that it is for, in a
# comment, and a package a line. Those of libraries are asked of the system that builds, since their
# names differ from one release to the next.

# What no library tells of: certificates, fonts, plug-ins, texts, and programs that are started.
set(_packages
    ca-certificates
    desktop-file-utils
    fonts-noto-cjk
    fonts-noto-core
    libglib2.0-bin
    libgl1-mesa-dri
    qt6-image-formats-plugins
    qt6-translations-l10n
    shared-mime-info
    xdg-utils
    ${_heif_plugins})

get_filename_component(_prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(_folder "$ENV{DESTDIR}${_prefix}")
set(_patterns)
file(GLOB _photo_modules RELATIVE "${_folder}" "${_folder}/photos/*.so")
foreach(_name vistrel vistrel-convert vistrel-fetch vistrel-render vistrel-share
        WebView2Loader.dll libonnxruntime.so.1 vistrel_http.so ${_photo_modules})
  execute_process(COMMAND "${_readelf}" -W -d "${_folder}/${_name}" OUTPUT_VARIABLE _told
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" _lines "${_told}")
  foreach(_line IN LISTS _lines)
    string(REGEX REPLACE ".*: .(.*).$" "\\1" _library "${_line}")
    if(NOT EXISTS "${_folder}/${_library}")
      list(APPEND _patterns "*/${_libraries}/${_library}")
    endif()
  endforeach()
endforeach()
list(REMOVE_DUPLICATES _patterns)

find_program(_dpkg_query dpkg-query NO_CACHE)
foreach(_pattern IN LISTS _patterns)
  set(_told "")
  if(_dpkg_query)
    execute_process(COMMAND "${_dpkg_query}" -S "${_pattern}" OUTPUT_VARIABLE _told ERROR_QUIET)
  endif()
  if(_told MATCHES "(^|\n)([a-z0-9][a-z0-9.+-]+)(:[a-z0-9]+)?: /")
    list(APPEND _packages "${CMAKE_MATCH_2}")
  else()
    message(WARNING "No package holds ${_pattern}, so runtime_packages does not name it.")
  endif()
endforeach()
list(REMOVE_DUPLICATES _packages)
list(SORT _packages)
list(JOIN _packages "\n" _lines)
file(WRITE "${_folder}/runtime_packages" "# ${_release}\n${_lines}\n")
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${_prefix}/runtime_packages")
