# The library, the CMake package and the pkg-config file. The component "runtime" is what programs
# need that are linked with the library, "development" what building them needs.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/LibCorvane)

install(TARGETS LibCorvane EXPORT LibCorvaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(EXPORT LibCorvaneTargets NAMESPACE LibCorvane:: DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(cmake/LibCorvaneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LibCorvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LibCorvaneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/LibCorvaneConfig.cmake
  ${PROJECT_BINARY_DIR}/LibCorvaneConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/FindLibCorvaneOpenCV.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The pkg-config file finds its prefix from its own place, unless the folders are fixed by an
# absolute path, as some distributions do.
set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_to_prefix /${pc_dir} /)
  string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
  set(pc_prefix "\${pcfiledir}/${pc_to_prefix}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  set(pc_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${kind}})
    set(pc_${kind} ${CMAKE_INSTALL_${kind}})
  endif()
endforeach()
configure_file(cmake/LibCorvane.pc.in ${PROJECT_BINARY_DIR}/LibCorvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/LibCorvane.pc DESTINATION ${pc_dir} COMPONENT development)
