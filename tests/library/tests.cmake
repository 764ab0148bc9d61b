dbi_test(library_records_test ${CMAKE_CURRENT_SOURCE_DIR}/library/LibraryRecordsTest.cpp)
