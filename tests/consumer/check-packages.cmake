# Script mode: builds the Debian packages, unpacks them into a scratch root
# (never installing them into the machine), then builds and runs the
# consumer project against the unpacked files and runs the unpacked dbictl.
set(root ${WORK_DIR}/root)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

# package.sh fails when lintian reports errors.
run(${CMAKE_COMMAND} -E env DBI_PACKAGE_DIR=${WORK_DIR}/debs DBI_PACKAGE_BUILD_DIR=${WORK_DIR}/build-package
    ${SOURCE_DIR}/scripts/package.sh)
message(STATUS "${last_output}")

foreach(package libdbi1 libdbi-dev dbi-tools)
  file(GLOB deb ${WORK_DIR}/debs/${package}_*.deb)
  if(NOT deb)
    message(FATAL_ERROR "package.sh made no ${package} package")
  endif()
  run(dpkg-deb -x ${deb} ${root})
endforeach()

run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${root}/usr)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/consumer ${WORK_DIR}/consumer.db)

set(dbictl ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${root}/usr/bin/dbictl)
run(${dbictl} --help)
run(${dbictl} init ${WORK_DIR}/tools.db)
run(${dbictl} check ${WORK_DIR}/tools.db)
foreach(expected usr/share/man/man1/dbictl.1.gz usr/share/dbi/schema.sql usr/share/doc/libdbi1/copyright)
  if(NOT EXISTS ${root}/${expected})
    message(FATAL_ERROR "the packages lack ${expected}")
  endif()
endforeach()
