include(CMakePackageConfigHelpers)

# Components, one per Debian package: runtime (the shared library),
# development (headers, CMake package, pkg-config file, the libdbi.so link)
# and tools (dbictl, its manual page and the schema).
install(TARGETS dbi EXPORT dbiTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/dbi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(EXISTS ${PROJECT_SOURCE_DIR}/schema/schema.sql)
  install(FILES schema/schema.sql DESTINATION ${CMAKE_INSTALL_DATADIR}/dbi COMPONENT tools)
endif()

set(DBI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/dbi)
install(EXPORT dbiTargets NAMESPACE dbi:: DESTINATION ${DBI_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/dbiConfig.cmake.in ${PROJECT_BINARY_DIR}/dbiConfig.cmake
  INSTALL_DESTINATION ${DBI_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/dbiConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/dbiConfig.cmake ${PROJECT_BINARY_DIR}/dbiConfigVersion.cmake
  DESTINATION ${DBI_CMAKE_DIR} COMPONENT development)

configure_file(cmake/dbi.pc.in ${PROJECT_BINARY_DIR}/dbi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dbi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

include(${CMAKE_CURRENT_LIST_DIR}/DbiPackaging.cmake)
