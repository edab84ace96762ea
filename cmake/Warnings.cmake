# SPDX-License-Identifier: GPL-3.0-or-later
# Our own code compiles without a warning; headers of others are system headers and stay silent.
# Warnings are errors where CMAKE_COMPILE_WARNING_AS_ERROR says so, as the presets for work on Vistrel
# do: a compiler newer than ours shall not keep users from building.
add_library(vistrel_warnings INTERFACE)
target_compile_options(
  vistrel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                             -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual)
# To GCC the files that are compiled as one are headers, which should have no unnamed namespaces.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND (VISTREL_JOIN_PRODUCT OR VISTREL_JOIN_TESTS))
  target_compile_options(vistrel_warnings INTERFACE -Wno-subobject-linkage)
endif()
