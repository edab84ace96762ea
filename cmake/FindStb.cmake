# SPDX-License-Identifier: GPL-3.0-or-later
# stb: the decoder, the second version of the resampler, and the PNG writer, as one include folder.
# Older distributions lack stb_image_resize2.h; scripts/setup then unpacks newer headers.
find_path(STB_INCLUDE_DIR stb_image_resize2.h
          HINTS "${VISTREL_DEPS}/usr/include" "/usr/include" PATH_SUFFIXES stb NO_CACHE)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Stb REQUIRED_VARS STB_INCLUDE_DIR)

if(Stb_FOUND AND NOT TARGET Stb::stb)
  add_library(Stb::stb INTERFACE IMPORTED)
  target_include_directories(Stb::stb SYSTEM INTERFACE "${STB_INCLUDE_DIR}")
endif()
