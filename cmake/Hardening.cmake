# SPDX-License-Identifier: GPL-3.0-or-later
# What makes an error in the code of a program that reads strangers' pictures hard to exploit. The
# sanitizers have checks of their own, which these would hide.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Programs too, not -fPIE: what they share with libraries includes the precompiled headers.
add_compile_options(-fPIC)

if(NOT VISTREL_SANITIZE)
  # Static libraries become position independent as a shared library would; nothing ever takes the
  # place of their functions, so these may be inlined all the same.
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection
                      -fno-semantic-interposition)
  # Works in optimised code only.
  add_compile_options("$<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
