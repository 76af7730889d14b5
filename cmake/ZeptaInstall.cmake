# Install rules: both libraries, the public headers, a CMake package
# (find_package(zepta) gives zepta::zepta) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS zepta zepta_static
  EXPORT zeptaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/zepta DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(ZEPTA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zepta)
install(EXPORT zeptaTargets NAMESPACE zepta:: DESTINATION ${ZEPTA_CMAKE_DIR})
configure_package_config_file(cmake/zeptaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zeptaConfig.cmake
  INSTALL_DESTINATION ${ZEPTA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zeptaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zeptaConfig.cmake ${PROJECT_BINARY_DIR}/zeptaConfigVersion.cmake
  DESTINATION ${ZEPTA_CMAKE_DIR})

# The .pc file finds its prefix from its own location, so the installed tree
# can be moved (or installed with --prefix) without editing it.
file(RELATIVE_PATH ZEPTA_PC_PREFIX_FROM_PCDIR
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZEPTA_PC_PREFIX_FROM_PCDIR "${ZEPTA_PC_PREFIX_FROM_PCDIR}")
configure_file(cmake/zepta.pc.in ${PROJECT_BINARY_DIR}/zepta.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zepta.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
