dbi_test(vigil_records_test ${CMAKE_CURRENT_SOURCE_DIR}/vigil/VigilRecordsTest.cpp)
