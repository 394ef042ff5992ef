# Install and export: find_package(brio) gives brio::RunHistory and the libraries below it.
include(CMakePackageConfigHelpers)

get_property(brio_targets GLOBAL PROPERTY BRIO_INSTALLED_TARGETS)
install(TARGETS ${brio_targets} EXPORT brioTargets
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/brio)
install(EXPORT brioTargets NAMESPACE brio:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/brio)
configure_package_config_file(cmake/brioConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/brioConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/brio)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/brioConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brioConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/brioConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/brio)
