include(CMakePackageConfigHelpers)

install(TARGETS dbi EXPORT dbiTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/dbi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(EXISTS ${PROJECT_SOURCE_DIR}/schema/schema.sql)
  install(FILES schema/schema.sql DESTINATION ${CMAKE_INSTALL_DATADIR}/dbi)
endif()

set(DBI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/dbi)
install(EXPORT dbiTargets NAMESPACE dbi:: DESTINATION ${DBI_CMAKE_DIR})
configure_package_config_file(cmake/dbiConfig.cmake.in ${PROJECT_BINARY_DIR}/dbiConfig.cmake
  INSTALL_DESTINATION ${DBI_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/dbiConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/dbiConfig.cmake ${PROJECT_BINARY_DIR}/dbiConfigVersion.cmake
  DESTINATION ${DBI_CMAKE_DIR})

configure_file(cmake/dbi.pc.in ${PROJECT_BINARY_DIR}/dbi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dbi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
