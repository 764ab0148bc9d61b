#include "dbi/media/SessionResults.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(SessionResults, "media_sessionresults", DBI_MEDIA_SESSIONRESULTS_COLUMNS)

SessionResults::SessionResults(int elementId, const std::string& voltag, int sessionId, int mediaId,
                               const std::string& driveId, const std::string& lastRunDate, int testState, int testType,
                               short testResult, short staticTestStatus, int staticTestErrorCode,
                               short dynamicTestStatus, int dynamicTestErrorCode, int priority) {
    m_elementId.setIntValue(elementId);
    m_voltag = voltag;
    m_sessionId.setIntValue(sessionId);
    m_mediaId.setIntValue(mediaId);
    m_driveId = driveId;
    m_lastRunDate = lastRunDate;
    m_testState.setIntValue(testState);
    m_testType.setIntValue(testType);
    m_testResult.setIntValue(testResult);
    m_staticTestStatus.setIntValue(staticTestStatus);
    m_staticTestErrorCode.setIntValue(staticTestErrorCode);
    m_dynamicTestStatus.setIntValue(dynamicTestStatus);
    m_dynamicTestErrorCode.setIntValue(dynamicTestErrorCode);
    m_priority.setIntValue(priority);
}

}  // namespace media
}  // namespace dbi
