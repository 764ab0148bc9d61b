# Script mode: install, check the layout, build and run the consumer.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

run(${CMAKE_COMMAND} --install ${DBI_BUILD_DIR} --prefix ${prefix})

foreach(expected include/dbi/dbi.h include/dbi/Transaction.h lib/libdbi.so lib/libdbi.so.1 lib/libdbi.so.1.0.0
                 lib/cmake/dbi/dbiConfig.cmake lib/cmake/dbi/dbiConfigVersion.cmake lib/pkgconfig/dbi.pc)
  if(NOT EXISTS ${prefix}/${expected})
    message(FATAL_ERROR "install lacks ${expected}")
  endif()
endforeach()

run(objdump -p ${prefix}/lib/libdbi.so.1.0.0)
if(NOT last_output MATCHES "SONAME +libdbi\\.so\\.1\n")
  message(FATAL_ERROR "libdbi.so.1.0.0 has no SONAME libdbi.so.1")
endif()

# The installed tool finds its library through its own run path.
if(WITH_TOOLS)
  if(NOT EXISTS ${prefix}/share/man/man1/dbictl.1.gz)
    message(FATAL_ERROR "install lacks the manual page share/man/man1/dbictl.1.gz")
  endif()
  set(no_library_path ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH)
  run(${no_library_path} ${prefix}/bin/dbictl --help)
  if(NOT last_output MATCHES "usage: dbictl")
    message(FATAL_ERROR "installed dbictl --help printed no usage:\n${last_output}")
  endif()
  run(${no_library_path} ${prefix}/bin/dbictl --version)
  if(NOT last_output STREQUAL "${EXPECTED_VERSION}\n")
    message(FATAL_ERROR "installed dbictl --version printed '${last_output}', not ${EXPECTED_VERSION}")
  endif()
  run(${no_library_path} ${prefix}/bin/dbictl init ${WORK_DIR}/installed-tool.db)
endif()

run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer ${WORK_DIR}/consumer.db)
message(STATUS "consumer: ${last_output}")
