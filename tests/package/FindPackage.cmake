# What find_package(LibCorvane …) accepts, what it refuses, and what it says when a dependency is
# missing. Needs SOURCE_DIR, an empty WORK_DIR, and the PREFIX with its LIBDIR.
cmake_minimum_required(VERSION 3.16)
file(REMOVE_RECURSE ${WORK_DIR})
string(REPLACE ";" "\\;" prefixes "${PREFIXES}")
set(cases 0)

# expect_found(ASK): the library and its headers of the prefix are found.
function(expect_found ask)
  ask_for_package("${ask}" "")
  file(TO_CMAKE_PATH ${PREFIX}/${LIBDIR}/libLibCorvane library)
  string(FIND "${result}" "found ${VERSION} with ${PREFIX}/include and ${library}" at)
  if(NOT at EQUAL 0)
    message(SEND_ERROR "find_package(LibCorvane ${ask}) gives: ${result}\n${output}")
  endif()
endfunction()

# expect_refused(ASK): the message names both versions.
function(expect_refused ask)
  ask_for_package("${ask}" "")
  if(NOT result MATCHES "^not found" OR NOT output MATCHES
      "compatible with requested version \"${ask}\".*LibCorvaneConfig.cmake, version: ${VERSION}")
    message(SEND_ERROR "find_package(LibCorvane ${ask}) gives: ${result}\n${output}")
  endif()
endfunction()

# expect_missing(DEPENDENCY MESSAGE): without it, MESSAGE is the reason given.
function(expect_missing dependency message)
  ask_for_package("" ${dependency})
  if(NOT result STREQUAL "not found. ${message}")
    message(SEND_ERROR "without ${dependency}: ${result}\n${output}")
  endif()
endfunction()

macro(ask_for_package ask without)
  math(EXPR cases "${cases} + 1")
  set(cases ${cases} PARENT_SCOPE)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/${cases} -G ${GENERATOR}
      "-DASK=${ask}" "-DWITHOUT=${without}" "-DCMAKE_PREFIX_PATH=${prefixes}" -DQt5_DIR=${QT5_DIR}
      -DCMAKE_CXX_COMPILER=${CXX}
    OUTPUT_VARIABLE output ERROR_VARIABLE output)
  # Long messages are wrapped.
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
  set(result "no result")
  if(output MATCHES "RESULT: (.*)")
    set(result "${CMAKE_MATCH_1}")
    string(REGEX REPLACE " -- .*$| $" "" result "${result}")
  endif()
endmacro()

expect_found("")
expect_found(0.1)
expect_found(${VERSION})
expect_found("${VERSION};EXACT")
# An earlier minor version is another interface, a later patch has what this one lacks.
expect_refused(0.0)
expect_refused(0.1.999)
expect_refused(0.2)
expect_refused(1.0)

set(not_found "LibCorvane could not be found because dependency")
expect_missing(Qt5 "${not_found} Qt5 could not be found.")
expect_missing(PkgConfig "${not_found} PkgConfig could not be found.")
expect_missing(OpenCV
  "LibCorvane needs OpenCV 4's core module: opencv2/core/mat.hpp and the library opencv_core.")
expect_missing(libavutil "LibCorvane needs libavutil 56.70 or newer (FFmpeg 4.4).")
