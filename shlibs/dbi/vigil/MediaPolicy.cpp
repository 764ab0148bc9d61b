#include "dbi/vigil/MediaPolicy.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(MediaPolicy, "vigil_mediapolicy", DBI_VIGIL_MEDIAPOLICY_COLUMNS)

MediaPolicy::MediaPolicy(const std::string& serial, const std::string& volumeTag, const std::string& partitionLabel,
                         int governingPolicyId, int scanNow, int copyAttemptsLeft, const std::string& basicScanTime,
                         const std::string& normalScanTime, const std::string& fullScanTime) {
    m_serialNumber = serial;
    m_voltag = volumeTag;
    m_partitionName = partitionLabel;
    m_policyId.setIntValue(governingPolicyId);
    m_scanNowType.setIntValue(scanNow);
    m_copyAttemptsRemaining.setIntValue(copyAttemptsLeft);
    m_lastBasicScan = basicScanTime;
    m_lastNormalScan = normalScanTime;
    m_lastFullScan = fullScanTime;
}

}  // namespace vigil
}  // namespace dbi
