# Debian packages of the install components, built by scripts/package.sh
# (cpack -G DEB): libdbi1, libdbi-dev and dbi-tools.

# Each package carries its copyright file and changelog where Debian's tools
# look for them; they are left out of a plain `cmake --install`.
set(DBI_DEB_CHANGELOG ${PROJECT_BINARY_DIR}/debian/changelog.gz)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/debian)
add_custom_command(OUTPUT ${DBI_DEB_CHANGELOG}
  COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/cmake/debian/changelog > ${DBI_DEB_CHANGELOG}
  DEPENDS ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
  VERBATIM)
add_custom_target(dbi-deb-changelog ALL DEPENDS ${DBI_DEB_CHANGELOG})

set(DBI_DEB_COMPONENTS runtime development)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libdbi${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdbi-dev)
if(TARGET dbictl)
  list(APPEND DBI_DEB_COMPONENTS tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME dbi-tools)
endif()
foreach(component IN LISTS DBI_DEB_COMPONENTS)
  string(TOUPPER ${component} upper)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${DBI_DEB_CHANGELOG}
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dbi)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "dbi developers <dbi-developers@example.com>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://example.com/dbi")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${DBI_DEB_COMPONENTS})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# Run-time dependencies come from dpkg-shlibdeps; the packages of one build
# depend on each other at exactly this version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dbictl's libdbi is in another package: dpkg-shlibdeps finds it in the
# build tree, and the component dependency below names its package.
get_target_property(DBI_LIBRARY_BUILD_DIR dbi BINARY_DIR)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${DBI_LIBRARY_BUILD_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
# A cross build names the target's architecture (dpkg would name the
# host's) and finds the target's run-time libraries among Debian's cross
# packages; scripts/package.sh renames those in the dependencies.
if(CMAKE_CROSSCOMPILING AND DBI_DEB_ARCHITECTURE)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${DBI_DEB_ARCHITECTURE})
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS /usr/${DBI_CROSS_TRIPLE}/lib)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "typed records, transactions and change notification over SQLite
The database-interface library of the tape-library appliance's controller:
typed records mapped to tables of one SQLite 3 database file, one
connection per thread, nested transactions as savepoints, retrying of busy
statements, a dispatcher that turns the database's change journal into
listener calls, and a command channel between processes.")
# The shlibs file lets other packages' dpkg-shlibdeps find libdbi1; the
# ldconfig trigger replaces ldconfig calls in maintainer scripts.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# CPack still writes ldconfig calls into the library's maintainer scripts;
# with the trigger they are redundant and harmless.
install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/libdbi1.lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides RENAME ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}
  COMPONENT runtime EXCLUDE_FROM_ALL)

# The development package brings what the headers and the CMake package
# file need: SQLite, Boost's thread, chrono and date-time, OpenSSL's crypto.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libsqlite3-dev, libboost-dev, libboost-thread-dev, libboost-chrono-dev, libboost-date-time-dev, libssl-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "development files of the dbi database-interface library
Headers, the CMake package (find_package(dbi)), the pkg-config file and the
link library for building programs against libdbi, the database-interface
library of the tape-library appliance's controller.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION database)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "command-line tool for appliance controller databases
dbictl creates a controller database from its schema, shows the rows of its
tables, checks its health, watches its change journal and sends, answers
and posts commands on its command channel. The package also holds the
schema for other tools.")

include(CPack)
