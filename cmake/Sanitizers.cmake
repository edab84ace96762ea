# SPDX-License-Identifier: GPL-3.0-or-later
# One sanitizer set for a whole build tree: mixing instrumented and plain objects hides errors.
if(VISTREL_SANITIZE)
  add_compile_options(-fsanitize=${VISTREL_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VISTREL_SANITIZE})
  if(VISTREL_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Clang's also compares the types of functions that are called through pointers, which are not those of
# the stand-in for a library's C interface in a test.
if(VISTREL_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-fno-sanitize=function)
endif()

# The address sanitizer sees what lies outside of an object, too, and these checks take a third of the
# time that compiling does.
if(VISTREL_SANITIZE MATCHES "address")
  add_compile_options(-fno-sanitize=object-size)
endif()

# With Clang, Highway's lowest target would be another than in what users get.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_definitions(HWY_BROKEN_EMU128=1)
endif()

# Fuzzers steer by the branches that the code under test takes.
if(VISTREL_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
