#include "dbi/media/ErrorUsage.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(ErrorUsage, "media_errorusage", DBI_MEDIA_ERRORUSAGE_COLUMNS)

ErrorUsage::ErrorUsage(int mediaId, short isReadError, const std::string& driveManufacturer, const std::string& driveId,
                       short driveGeneration, int firmwareIdentity, short suspendedWritesAtAppend, int threadCount,
                       long long dataSetsWritten, long long dataSetsRead, int writeRetries, int readRetries,
                       short unrecoveredWriteErrors, short unrecoveredReadErrors, short suspendedWrites,
                       short fatalSuspendedWrites, int writePass, int dataSet, int dataSetPhysicalPosition,
                       int dataSetWrapNumber) {
    m_mediaId.setIntValue(mediaId);
    m_isReadError.setIntValue(isReadError);
    m_driveManufacturer = driveManufacturer;
    m_driveId = driveId;
    m_driveGeneration.setIntValue(driveGeneration);
    m_firmwareIdentity.setIntValue(firmwareIdentity);
    m_suspendedWritesAtAppend.setIntValue(suspendedWritesAtAppend);
    m_threadCount.setIntValue(threadCount);
    m_dataSetsWritten.setIntValue(dataSetsWritten);
    m_dataSetsRead.setIntValue(dataSetsRead);
    m_writeRetries.setIntValue(writeRetries);
    m_readRetries.setIntValue(readRetries);
    m_unrecoveredWriteErrors.setIntValue(unrecoveredWriteErrors);
    m_unrecoveredReadErrors.setIntValue(unrecoveredReadErrors);
    m_suspendedWrites.setIntValue(suspendedWrites);
    m_fatalSuspendedWrites.setIntValue(fatalSuspendedWrites);
    m_writePass.setIntValue(writePass);
    m_dataSet.setIntValue(dataSet);
    m_dataSetPhysicalPosition.setIntValue(dataSetPhysicalPosition);
    m_dataSetWrapNumber.setIntValue(dataSetWrapNumber);
}

}  // namespace media
}  // namespace dbi
