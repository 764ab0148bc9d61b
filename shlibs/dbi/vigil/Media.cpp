#include "dbi/vigil/Media.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(Media, "vigil_media", DBI_VIGIL_MEDIA_COLUMNS)

Media::Media(const std::string& serial, const std::string& volumeTag, int scanNow, int copyAttemptsLeft,
             const std::string& basicScanTime, const std::string& normalScanTime, const std::string& fullScanTime) {
    m_serialNumber = serial;
    m_voltag = volumeTag;
    m_scanNowType.setIntValue(scanNow);
    m_copyAttemptsRemaining.setIntValue(copyAttemptsLeft);
    m_lastBasicScan = basicScanTime;
    m_lastNormalScan = normalScanTime;
    m_lastFullScan = fullScanTime;
}

}  // namespace vigil
}  // namespace dbi
