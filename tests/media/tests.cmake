dbi_test(media_records_test ${CMAKE_CURRENT_SOURCE_DIR}/media/MediaRecordsTest.cpp)
