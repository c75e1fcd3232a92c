# Installs the build into an empty prefix and lays out the hosts that the documentation shows.
cmake_minimum_required(VERSION 3.16)
include(${CMAKE_CURRENT_LIST_DIR}/Blocks.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${FIRST_PREFIX}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "cmake --install failed: ${failed}")
endif()
# All tests use it where it was not installed: a prefix can be moved as a whole.
file(RENAME ${FIRST_PREFIX} ${PREFIX})

extract_files(${SOURCE_DIR}/README.md ${WORK_DIR}/readme)
extract_files(${SOURCE_DIR}/docs/getting-started.md ${WORK_DIR}/getting-started)
extract_files(${SOURCE_DIR}/docs/embedding.md ${WORK_DIR}/embedding)
