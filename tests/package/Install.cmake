# Installs the build into an empty prefix and lays out the host that README.md shows.
cmake_minimum_required(VERSION 3.16)
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${FIRST_PREFIX}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "cmake --install failed: ${failed}")
endif()
# All tests use it where it was not installed: a prefix can be moved as a whole.
file(RENAME ${FIRST_PREFIX} ${PREFIX})

# The first fenced block of the language becomes the file.
function(extract_block language file)
  file(READ ${README} text)
  string(FIND "${text}" "```${language}\n" start)
  if(start EQUAL -1)
    message(FATAL_ERROR "${README} shows no ${language} block")
  endif()
  string(LENGTH "```${language}\n" fence)
  math(EXPR start "${start} + ${fence}")
  string(SUBSTRING "${text}" ${start} -1 text)
  string(FIND "${text}" "```" length)
  string(SUBSTRING "${text}" 0 ${length} text)
  file(WRITE ${WORK_DIR}/readme/${file} "${text}")
endfunction()

extract_block(cpp main.cpp)
extract_block(cmake CMakeLists.txt)
