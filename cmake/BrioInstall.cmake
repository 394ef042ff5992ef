# Install and export: find_package(brio) gives brio::RunHistory and the libraries below it, pkg-config the same. The
# libraries find the table definitions in ../share/brio beside them, so that an installed tree may be moved as a whole.
include(CMakePackageConfigHelpers)

install(DIRECTORY RunHistory/tables DESTINATION ${BRIO_DATA_DIR}/RunHistory
  FILES_MATCHING PATTERN "*.xml")
install(DIRECTORY RunHistory/sql DESTINATION ${BRIO_DATA_DIR}/RunHistory
  FILES_MATCHING PATTERN "*.sql")
install(FILES snapshot/sample.brio DESTINATION ${BRIO_DATA_DIR})
install(FILES experiment/daqconfig/daqconfig.sql DESTINATION ${BRIO_DATA_DIR}/experiment/daqconfig)
install(FILES experiment/dcs/slowcontrol.sql DESTINATION ${BRIO_DATA_DIR}/experiment/dcs)

get_property(brio_targets GLOBAL PROPERTY BRIO_INSTALLED_TARGETS)
# What an installation needs, without the tests.
add_custom_target(installed_targets)
foreach(target ${brio_targets} runhistory brio_python)
  if(TARGET ${target})
    add_dependencies(installed_targets ${target})
  endif()
endforeach()
install(TARGETS ${brio_targets} EXPORT brioTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/brio)

# What users of the installed libraries must have found themselves, or find with them.
set(brio_site_targets ${BRIO_EXPERIMENT_TARGET} ${BRIO_FRAMEWORK_TARGET})
get_target_property(framework_libraries brio_framework INTERFACE_LINK_LIBRARIES)
set(brio_uses_root OFF)
if("ROOT::Core" IN_LIST framework_libraries)
  set(brio_uses_root ON)
endif()

set(brio_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/brio)
install(EXPORT brioTargets NAMESPACE brio:: DESTINATION ${brio_package_dir})
configure_package_config_file(cmake/brioConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/brioConfig.cmake
  INSTALL_DESTINATION ${brio_package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/brioConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/brioConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/brioConfigVersion.cmake
  DESTINATION ${brio_package_dir})

# For builds without CMake; what a site's own targets need, pkg-config could not tell.
if(NOT brio_site_targets)
  file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  set(brio_pc_definitions "")
  if(brio_uses_root)
    set(brio_pc_definitions " -DBRIO_HAVE_ROOT")
  endif()
  configure_file(cmake/brio.pc.in ${CMAKE_CURRENT_BINARY_DIR}/brio.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brio.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()
