# Objective-C++ away from macOS: clang on the runtime of GNU Objective-C, with GNUstep Base for
# Foundation and libBlocksRuntime for blocks. It stands beside whatever compiles C++. Defines the
# target corvane_objectivec, or leaves CORVANE_OBJECTIVEC_MISSING with what was not found.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(CORVANE_CLANG ${CMAKE_CXX_COMPILER})
else()
  find_program(CORVANE_CLANG NAMES clang++ clang++-19 clang++-18 clang++-17 clang++-16 clang++-15
    clang++-14)
endif()
find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(GNUSTEP_BASE_LIBRARY gnustep-base)
find_library(BLOCKS_RUNTIME_LIBRARY BlocksRuntime)
if(CORVANE_CLANG)
  # GCC's folder, which has its Objective-C runtime when that is installed; clang looks there too.
  execute_process(COMMAND ${CORVANE_CLANG} -print-file-name=libobjc.so
    OUTPUT_VARIABLE gnu_objc_library OUTPUT_STRIP_TRAILING_WHITESPACE)
  get_filename_component(gnu_objc_dir "${gnu_objc_library}" DIRECTORY)
  find_library(GNU_OBJC_LIBRARY objc HINTS ${gnu_objc_dir})
  find_path(GNU_OBJC_INCLUDE_DIR objc/objc.h HINTS ${gnu_objc_dir}/include)
endif()

set(CORVANE_OBJECTIVEC_MISSING)
foreach(part CORVANE_CLANG GNUSTEP_INCLUDE_DIR GNUSTEP_BASE_LIBRARY BLOCKS_RUNTIME_LIBRARY
    GNU_OBJC_LIBRARY GNU_OBJC_INCLUDE_DIR)
  mark_as_advanced(${part})
  if(NOT ${part})
    list(APPEND CORVANE_OBJECTIVEC_MISSING ${part})
  endif()
endforeach()
if(CORVANE_OBJECTIVEC_MISSING)
  return()
endif()

set(CMAKE_OBJCXX_COMPILER ${CORVANE_CLANG} CACHE FILEPATH "Objective-C++ compiler")
set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${CMAKE_CXX_COMPILER_LAUNCHER}")
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 17)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

set(objectivec_options
  -fblocks -fobjc-runtime=gcc -fobjc-exceptions -fconstant-string-class=NSConstantString
  # After clang's own folders: beside objc/ stand the built-in headers of GCC.
  "SHELL:-idirafter ${GNU_OBJC_INCLUDE_DIR}")
set(gnustep_definitions
  GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
add_library(corvane_objectivec INTERFACE)
target_compile_options(corvane_objectivec INTERFACE "$<$<COMPILE_LANGUAGE:OBJCXX>:${objectivec_options}>")
target_compile_definitions(corvane_objectivec INTERFACE
  "$<$<COMPILE_LANGUAGE:OBJCXX>:${gnustep_definitions}>")
target_include_directories(corvane_objectivec SYSTEM INTERFACE
  "$<$<COMPILE_LANGUAGE:OBJCXX>:${GNUSTEP_INCLUDE_DIR}>")
target_link_libraries(corvane_objectivec INTERFACE
  ${GNUSTEP_BASE_LIBRARY} ${GNU_OBJC_LIBRARY} ${BLOCKS_RUNTIME_LIBRARY})
