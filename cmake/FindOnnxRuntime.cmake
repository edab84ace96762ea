# SPDX-License-Identifier: GPL-3.0-or-later
# ONNX Runtime: headers from the distribution or from the folder that scripts/setup unpacked, the
# shared library from the npm package. Nothing links the library, OnnxRuntime::onnxruntime: it is opened
# when it is needed, so programs take OnnxRuntime::headers.
find_path(ONNXRUNTIME_INCLUDE_DIR onnxruntime_cxx_api.h
          HINTS "${VISTREL_DEPS}/usr/include" "/usr/include" PATH_SUFFIXES onnxruntime NO_CACHE)
find_library(ONNXRUNTIME_LIBRARY NAMES libonnxruntime.so.1
             HINTS "${CMAKE_SOURCE_DIR}/node_modules/onnxruntime-node/bin/napi-v6/linux/x64"
             NO_DEFAULT_PATH NO_CACHE)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OnnxRuntime REQUIRED_VARS ONNXRUNTIME_LIBRARY
                                                            ONNXRUNTIME_INCLUDE_DIR)

if(OnnxRuntime_FOUND AND NOT TARGET OnnxRuntime::onnxruntime)
  set(_beside "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libonnxruntime.so.1")
  file(MAKE_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  file(COPY_FILE "${ONNXRUNTIME_LIBRARY}" "${_beside}" ONLY_IF_DIFFERENT)
  add_library(OnnxRuntime::onnxruntime SHARED IMPORTED)
  set_target_properties(OnnxRuntime::onnxruntime PROPERTIES IMPORTED_LOCATION "${_beside}"
                                                            IMPORTED_SONAME libonnxruntime.so.1)
  add_library(OnnxRuntime::headers INTERFACE IMPORTED)
  target_include_directories(OnnxRuntime::headers SYSTEM INTERFACE "${ONNXRUNTIME_INCLUDE_DIR}")
endif()
