# Headers, the library, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/LibCorvane)

install(TARGETS LibCorvane EXPORT LibCorvaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY src/LibCorvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
install(EXPORT LibCorvaneTargets NAMESPACE LibCorvane:: DESTINATION ${package_dir})

configure_package_config_file(cmake/LibCorvaneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LibCorvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LibCorvaneConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/LibCorvaneConfig.cmake
  ${PROJECT_BINARY_DIR}/LibCorvaneConfigVersion.cmake
  DESTINATION ${package_dir})

configure_file(cmake/LibCorvane.pc.in ${PROJECT_BINARY_DIR}/LibCorvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/LibCorvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
