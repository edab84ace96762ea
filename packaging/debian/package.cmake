# SPDX-License-Identifier: GPL-3.0-or-later
# What `cpack -G DEB` needs to know; cpack reads it for each kind of package.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

set(CPACK_PACKAGING_INSTALL_PREFIX "/usr/lib/vistrel")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/arrange.cmake")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(NOT CPACK_DEBIAN_COMPRESSION_TYPE)
  set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
endif()
set(CPACK_DEBIAN_PACKAGE_NAME vistrel)
# A later release's goes before an earlier one's, and that of Debian itself, if there is ever one,
# before both.
set(CPACK_DEBIAN_PACKAGE_RELEASE "1~${CPACK_VISTREL_SYSTEM}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Turn one photograph into a 3D scene
A network predicts more than a million 3D Gaussians that look like the
photograph from the front and hold together when you move aside. Vistrel
shows the scene in six stereo modes, for glasses, 3D displays and relaxed
eyes, and writes it as a file that other viewers of splats open too.

The commands do the same without a display: vistrel-convert makes scenes
of photographs, of a folder of them as well, vistrel-render draws pictures
and movies of scenes, and vistrel-share puts a scene and a viewer for it
into one HTML file.")
