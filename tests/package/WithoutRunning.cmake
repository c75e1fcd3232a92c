# What is checked without running the library, so that sanitizers have nothing to add.
corvane_add_package_test(package_versions
  -D PREFIX=${prefix} -D LIBDIR=${CMAKE_INSTALL_LIBDIR} -D VERSION=${PROJECT_VERSION}
  -D PREFIXES=${outside_prefixes} -D QT5_DIR=${Qt5_DIR} -D CXX=${CMAKE_CXX_COMPILER}
  -D GENERATOR=${CMAKE_GENERATOR} -D WORK_DIR=${work_dir}/versions
  -D SOURCE_DIR=${CMAKE_CURRENT_SOURCE_DIR}/found
  -P ${CMAKE_CURRENT_SOURCE_DIR}/FindPackage.cmake)

# The headers are for both compilers, whichever has built the library.
set(mac_headers)
if(NOT APPLE)
  set(mac_headers LibCorvane/audioCapturers/CoreAudioCapture.h
    LibCorvane/audioCapturers/CoreFoundationString.h)
endif()
string(REPLACE ";" "," mac_headers "${mac_headers}")
# On macOS g++ is clang by another name.
set(gcc_names g++-14 g++-13 g++-12)
if(NOT APPLE)
  list(PREPEND gcc_names g++)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(CORVANE_GCC ${CMAKE_CXX_COMPILER})
else()
  find_program(CORVANE_GCC NAMES ${gcc_names})
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(CORVANE_CLANG ${CMAKE_CXX_COMPILER})
else()
  find_program(CORVANE_CLANG NAMES clang++)
endif()
mark_as_advanced(CORVANE_GCC CORVANE_CLANG)
foreach(compiler GCC CLANG)
  string(TOLOWER package_headers_${compiler} name)
  if(CORVANE_${compiler})
    corvane_add_outside_project(${name} ${CMAKE_CURRENT_SOURCE_DIR}/headers OPTIONS
      -DCMAKE_CXX_COMPILER=${CORVANE_${compiler}}
      -DMAC_HEADERS=${mac_headers}
      -DSOURCE_DIR=${PROJECT_SOURCE_DIR}/src
      -DFRAMEWORKS_DIR=${PROJECT_SOURCE_DIR}/tests/apple/audio/include)
  else()
    message(WARNING "${compiler} is not found: ${name} does not run.")
    add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E false)
    set_tests_properties(${name} PROPERTIES LABELS package DISABLED ON)
  endif()
endforeach()

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # The packages of this very build; scripts/check-packages installs those of the distribution's way.
  set(missing)
  foreach(program dpkg-deb dpkg-shlibdeps readelf file)
    find_program(CORVANE_PROGRAM_${program} ${program})
    mark_as_advanced(CORVANE_PROGRAM_${program})
    if(NOT CORVANE_PROGRAM_${program})
      list(APPEND missing ${program})
    endif()
  endforeach()
  add_test(NAME package_debian COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check-debian-packages)
  set_tests_properties(package_debian PROPERTIES
    LABELS package FIXTURES_REQUIRED installed TIMEOUT 300
    ENVIRONMENT "BUILD_DIR=${PROJECT_BINARY_DIR};SOURCE_DIR=${PROJECT_SOURCE_DIR};\
LIBDIR=${CMAKE_INSTALL_LIBDIR};VERSION=${PROJECT_VERSION};PREFIX=${prefix};\
WORK_DIR=${work_dir}-debian;CPACK=${CMAKE_CPACK_COMMAND}")
  if(missing)
    message(WARNING "Not found: ${missing}. package_debian does not run.")
    set_tests_properties(package_debian PROPERTIES DISABLED ON)
  endif()
endif()
