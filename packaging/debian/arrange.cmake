# SPDX-License-Identifier: GPL-3.0-or-later
# Brings what cpack has installed into one folder to where Debian has it, and finds out on what the
# package depends.
cmake_policy(VERSION 3.25)
set(_root "${CPACK_TEMPORARY_DIRECTORY}")
set(_program "${_root}${CPACK_PACKAGING_INSTALL_PREFIX}")
set(_share "${_root}/usr/share")
set(_documents "${_share}/doc/vistrel")
set(_version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

function(_put_compressed file)
  execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# What dpkg does itself.
file(STRINGS "${_program}/runtime_packages" _packages REGEX "^[^#]")
foreach(_name LICENSE README.md folders.sh install install-dependencies manifest openers.sh
              runtime_packages uninstall)
  file(REMOVE "${_program}/${_name}")
endforeach()

file(MAKE_DIRECTORY "${_root}/usr/bin")
foreach(_command IN LISTS CPACK_VISTREL_COMMANDS)
  file(CREATE_LINK "../lib/vistrel/${_command}" "${_root}/usr/bin/${_command}" SYMBOLIC)
endforeach()

# The program writes these beside itself, where a user may not.
file(COPY ${CPACK_VISTREL_MANUALS} DESTINATION "${_program}"
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

file(RENAME "${_program}/share" "${_share}")
file(RENAME "${_share}/zsh/site-functions" "${_share}/zsh/vendor-completions")
file(GLOB _man_pages "${_share}/man/man1/*.1")
foreach(_page IN LISTS _man_pages)
  _put_compressed("${_page}")
endforeach()

file(MAKE_DIRECTORY "${_documents}")
file(RENAME "${_program}/docs/many_machines.md" "${_documents}/many_machines.md")
file(RENAME "${_program}/THIRD_PARTY_NOTICES" "${_documents}/THIRD_PARTY_NOTICES")
file(REMOVE_RECURSE "${_program}/docs")
file(COPY "${CMAKE_CURRENT_LIST_DIR}/copyright" DESTINATION "${_documents}")
file(STRINGS "${_share}/metainfo/org.vistrel.vistrel.metainfo.xml" _releases REGEX "<release ")
list(GET _releases 0 _latest)
string(REGEX REPLACE ".*date=\"([0-9-]+)\".*" "\\1" _day "${_latest}")
execute_process(COMMAND "${CMAKE_COMMAND}" -E env LC_ALL=C date --utc --rfc-email "--date=${_day}"
                OUTPUT_VARIABLE _date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file("${CMAKE_CURRENT_LIST_DIR}/../../CHANGELOG.md" "${_documents}/changelog" COPYONLY)
_put_compressed("${_documents}/changelog")
configure_file("${CMAKE_CURRENT_LIST_DIR}/lintian-overrides" "${_share}/lintian/overrides/vistrel"
               COPYONLY)
file(WRITE "${_documents}/changelog.Debian"
     "vistrel (${_version}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}; changelog.gz tells what is new.

 -- ${CPACK_PACKAGE_CONTACT}  ${_date}
")
_put_compressed("${_documents}/changelog.Debian")

# Whatever the mask of who builds.
set(_for_all OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
set(_for_all_to_enter ${_for_all} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
file(CHMOD_RECURSE "${_root}/usr" DIRECTORY_PERMISSIONS ${_for_all_to_enter})
file(CHMOD_RECURSE "${_share}" PERMISSIONS ${_for_all} DIRECTORY_PERMISSIONS ${_for_all_to_enter})

# Libraries with the versions they need to have. dpkg-shlibdeps wants to see a package's sources.
find_program(_dpkg_shlibdeps dpkg-shlibdeps NO_CACHE)
if(NOT _dpkg_shlibdeps)
  message(FATAL_ERROR "There is no dpkg-shlibdeps, which the package dpkg-dev brings.")
endif()
set(_sources "${CPACK_TOPLEVEL_DIRECTORY}/shlibdeps")
file(WRITE "${_sources}/debian/control" "Source: vistrel\n\nPackage: vistrel\nArchitecture: any\n")
file(GLOB _binaries "${_program}/*.so" "${_program}/photos/*.so")
foreach(_name vistrel vistrel-convert vistrel-fetch vistrel-render vistrel-share
              WebView2Loader.dll libonnxruntime.so.1)
  list(APPEND _binaries "${_program}/${_name}")
endforeach()
execute_process(
  COMMAND "${_dpkg_shlibdeps}" -O "-l${_program}" --ignore-missing-info ${_binaries}
  WORKING_DIRECTORY "${_sources}"
  OUTPUT_VARIABLE _told OUTPUT_STRIP_TRAILING_WHITESPACE
  ERROR_VARIABLE _said RESULT_VARIABLE _status)
if(_status)
  message(FATAL_ERROR "${_said}")
endif()
string(REPLACE "shlibs:Depends=" "" _depends "${_told}")

# What else it needs, and what it can do without.
string(REGEX REPLACE " \\([^)]*\\)" "" _told_names "${_depends}")
string(REPLACE ", " ";" _told_names "${_told_names}")
set(_recommended ffmpeg)
foreach(_package IN LISTS _packages)
  if(_package MATCHES "^fonts-")
    list(APPEND _recommended "${_package}")
  elseif(NOT _package IN_LIST _told_names)
    string(APPEND _depends ", ${_package}")
  endif()
endforeach()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${_depends}")
list(JOIN _recommended ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS)
