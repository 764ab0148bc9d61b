#include "dbi/media/UsageInformation.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(UsageInformation, "media_usageinformation", DBI_MEDIA_USAGEINFORMATION_COLUMNS)

UsageInformation::UsageInformation(int mediaId, short pageId, const std::string& driveManufacturer,
                                   const std::string& driveId, short suspendedWritesAtAppend, int threadCount,
                                   long long dataSetsWritten, long long dataSetsRead, int writeRetries, int readRetries,
                                   short unrecoveredWriteErrors, short unrecoveredReadErrors, short suspendedWrites,
                                   short fatalSuspendedWrites) {
    m_mediaId.setIntValue(mediaId);
    m_pageId.setIntValue(pageId);
    m_driveManufacturer = driveManufacturer;
    m_driveId = driveId;
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
}

}  // namespace media
}  // namespace dbi
