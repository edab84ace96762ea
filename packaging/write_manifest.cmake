# SPDX-License-Identifier: GPL-3.0-or-later
# Writes `manifest` into the folder that was installed: checksum and name of every file there, as
# sha256sum does.
# The prefix may be relative; the names of the files that were installed never are.
get_filename_component(_prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(_folder "$ENV{DESTDIR}${_prefix}")
set(_lines "")
list(SORT CMAKE_INSTALL_MANIFEST_FILES)
foreach(_file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
  file(RELATIVE_PATH _name "${_prefix}" "${_file}")
  file(SHA256 "${_folder}/${_name}" _checksum)
  string(APPEND _lines "${_checksum}  ${_name}\n")
endforeach()
file(WRITE "${_folder}/manifest" "${_lines}")
