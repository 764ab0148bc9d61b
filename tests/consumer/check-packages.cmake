# Script mode: makes the Debian packages of this build (as scripts/package.sh
# does, without building again), checks them with lintian, unpacks them into
# a scratch root (never installing them into the machine), then builds and
# runs the consumer project against the unpacked files and runs the unpacked
# dbictl.
set(root ${WORK_DIR}/root)
file(REMOVE_RECURSE ${WORK_DIR})

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

run(${CPACK} -G DEB --config ${DBI_BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/debs)
file(GLOB debs ${WORK_DIR}/debs/*.deb)
run(lintian --fail-on error ${debs})
message(STATUS "lintian: ${last_output}")

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
