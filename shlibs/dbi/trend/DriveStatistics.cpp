#include "dbi/trend/DriveStatistics.h"

namespace dbi {
namespace trend {

DBI_RECORD_DEFINE(DriveStatistics, "trend_drivestatistics", DBI_TREND_DRIVESTATISTICS_COLUMNS)

DriveStatistics::DriveStatistics(int slotNumber, const std::string& mountTime, const std::string& unmountTime,
                                 const std::string& volser) {
    m_slotNumber.setIntValue(slotNumber);
    m_mountTime = mountTime;
    m_unmountTime = unmountTime;
    m_volser = volser;
}

}  // namespace trend
}  // namespace dbi
