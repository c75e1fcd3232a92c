# Debian packages by CPack: libcorvane has what programs need that are linked with the library,
# libcorvane-dev what building them needs. A build that is configured for /usr packs the library into
# the folder of its architecture, any other into lib. scripts/build-packages makes both in the
# distribution's way.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()

find_program(LIBCORVANE_DPKG dpkg)
find_program(LIBCORVANE_GZIP gzip)
mark_as_advanced(LIBCORVANE_DPKG LIBCORVANE_GZIP)
if(NOT LIBCORVANE_DPKG OR NOT LIBCORVANE_GZIP)
  return()
endif()

# Debian wants these in its packages; no other installation needs them.
set(debian_dir ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in ${debian_dir}/changelog @ONLY)
execute_process(COMMAND ${LIBCORVANE_GZIP} -9nf ${debian_dir}/changelog)
function(install_debian_files package component)
  set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${doc_dir} RENAME copyright
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${debian_dir}/changelog.gz DESTINATION ${doc_dir}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/${package}.lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides RENAME ${package}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()
install_debian_files(libcorvane runtime)
install_debian_files(libcorvane-dev development)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME libcorvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "LibCorvane developers <developers@corvane.invalid>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Each package has its own; this one would stand before them.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(description
"LibCorvane hands its host live spectra of sound devices and small pictures
of displays, lays out LED strips, keeps the settings of the application, its
controllers and its effects, packs what a problem report needs, and talks to
the maker's web service.
")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libcorvane)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"core library for LED lighting behind a monitor
${description}
This package contains the shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Before 1.0 a minor version may change the interface, and the package's name does not tell them
# apart: programs need the version that they were built with, or a later one of the same minor.
math(EXPR next_minor "${PROJECT_VERSION_MINOR} + 1")
set(next_minor ${PROJECT_VERSION_MAJOR}.${next_minor})
configure_file(cmake/debian/shlibs.in ${debian_dir}/shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian_dir}/shlibs ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
# Qt reaches sound devices through plug-ins, which it loads when it is first asked for them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS libqt5multimedia5-plugins)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcorvane-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"core library for LED lighting behind a monitor (development files)
${description}
This package contains the headers, the CMake package and the pkg-config file.")
# What the headers include and what the CMake package and the pkg-config file ask for.
string(CONCAT CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libcorvane (= ${PROJECT_VERSION}), qtbase5-dev (>= 5.15), qtmultimedia5-dev (>= 5.15), "
  "libavutil-dev (>= 7:4.4), libopencv-core-dev (>= 4), pkgconf | pkg-config")

include(CPack)
