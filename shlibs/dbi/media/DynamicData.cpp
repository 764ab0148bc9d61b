#include "dbi/media/DynamicData.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(DynamicData, "media_dynamicdata", DBI_MEDIA_DYNAMICDATA_COLUMNS)

DynamicData::DynamicData(int mediaId, int wrap, int region, int errorsCorrectedWoDelay, int errorsCorrectedDelay,
                         int correctedErrors, int uncorrectedErrors, int totalErrors, int errorCorrectionsInvoked,
                         int bytesProcessed, int tapeAlertFlagsHi, int tapeAlertFlagsLo, int dsRead, int readRetries,
                         int unrecoverableErrors, int deviceStatusBits) {
    m_mediaId.setIntValue(mediaId);
    m_wrap.setIntValue(wrap);
    m_region.setIntValue(region);
    m_errorsCorrectedWoDelay.setIntValue(errorsCorrectedWoDelay);
    m_errorsCorrectedDelay.setIntValue(errorsCorrectedDelay);
    m_correctedErrors.setIntValue(correctedErrors);
    m_uncorrectedErrors.setIntValue(uncorrectedErrors);
    m_totalErrors.setIntValue(totalErrors);
    m_errorCorrectionsInvoked.setIntValue(errorCorrectionsInvoked);
    m_bytesProcessed.setIntValue(bytesProcessed);
    m_tapeAlertFlagsHi.setIntValue(tapeAlertFlagsHi);
    m_tapeAlertFlagsLo.setIntValue(tapeAlertFlagsLo);
    m_dsRead.setIntValue(dsRead);
    m_readRetries.setIntValue(readRetries);
    m_unrecoverableErrors.setIntValue(unrecoverableErrors);
    m_deviceStatusBits.setIntValue(deviceStatusBits);
}

}  // namespace media
}  // namespace dbi
