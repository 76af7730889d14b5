# Install rules like libzepta's: both libraries, the headers, a CMake package
# (find_package(zepta_ride) gives zepta::ride) and a pkg-config file.
install(TARGETS zepta_ride zepta_ride_static
  EXPORT zeptaRideTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/zepta/ride DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zepta)

set(ZEPTA_RIDE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zepta_ride)
install(EXPORT zeptaRideTargets NAMESPACE zepta:: DESTINATION ${ZEPTA_RIDE_CMAKE_DIR})
configure_package_config_file(cmake/zepta_rideConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zepta_rideConfig.cmake
  INSTALL_DESTINATION ${ZEPTA_RIDE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zepta_rideConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zepta_rideConfig.cmake ${PROJECT_BINARY_DIR}/zepta_rideConfigVersion.cmake
  DESTINATION ${ZEPTA_RIDE_CMAKE_DIR})

configure_file(cmake/zepta-ride.pc.in ${PROJECT_BINARY_DIR}/zepta-ride.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zepta-ride.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Ready-made profiles for rigs that need more than the defaults.
install(DIRECTORY profiles/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zepta/ride-profiles)
