set(DBI_TREND_SOURCES
  ${CMAKE_CURRENT_SOURCE_DIR}/trend/DriveStatistics.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/trend/TapeAlert.cpp
)
