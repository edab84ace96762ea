# SPDX-License-Identifier: GPL-3.0-or-later
# Clang's own counters. They lie in files that are mapped into memory (%c), so those of a process that
# ends by _exit or is killed count as well; a file for each program and library (%m) and process (%p).
# The path is compiled in: tests start programs with an environment of their own.
if(VISTREL_COVERAGE)
  set(VISTREL_COVERAGE_COUNTERS "${CMAKE_BINARY_DIR}/counters")
  set(_counting "-fprofile-instr-generate=${VISTREL_COVERAGE_COUNTERS}/%m-%p%c.profraw")
  add_compile_options(${_counting} -fcoverage-mapping "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(${_counting})

  # `coverage` runs the tests anew and reports; a test that fails does not keep it from reporting.
  get_filename_component(_compiler "${CMAKE_CXX_COMPILER}" REALPATH)
  get_filename_component(_llvm "${_compiler}" DIRECTORY)
  find_program(VISTREL_NODE NAMES node nodejs REQUIRED)
  add_custom_target(
    coverage
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${VISTREL_COVERAGE_COUNTERS}"
    COMMAND "${CMAKE_CTEST_COMMAND}" --output-on-failure --test-dir "${CMAKE_BINARY_DIR}" || true
    COMMAND "${CMAKE_SOURCE_DIR}/tests/coverage/report.py" "${CMAKE_BINARY_DIR}" "${_llvm}"
            "${VISTREL_NODE}"
    USES_TERMINAL VERBATIM)
endif()
