#include "dbi/trend/TapeAlert.h"

namespace dbi {
namespace trend {

DBI_RECORD_DEFINE(TapeAlert, "trend_tapealert", DBI_TREND_TAPEALERT_COLUMNS)

TapeAlert::TapeAlert(const std::string& serialNum, const std::string& volser, int tapeAlert,
                     const std::string& timeStamp) {
    m_serialNum = serialNum;
    m_volser = volser;
    m_tapeAlert.setIntValue(tapeAlert);
    m_timeStamp = timeStamp;
}

}  // namespace trend
}  // namespace dbi
