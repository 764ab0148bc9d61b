dbi_test(trend_records_test ${CMAKE_CURRENT_SOURCE_DIR}/trend/TrendRecordsTest.cpp)
