#include "dbi/media/Session.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(Session, "media_session", DBI_MEDIA_SESSION_COLUMNS)

Session::Session(const std::string& startDate, const std::string& endDate, int numIncomplete, int numGood, int numBad,
                 int numSuspect, int numUnsupported, int testState, bool continueOnError, bool started) {
    m_startDate = startDate;
    m_endDate = endDate;
    m_numIncomplete.setIntValue(numIncomplete);
    m_numGood.setIntValue(numGood);
    m_numBad.setIntValue(numBad);
    m_numSuspect.setIntValue(numSuspect);
    m_numUnsupported.setIntValue(numUnsupported);
    m_testState.setIntValue(testState);
    m_continueOnError = continueOnError;
    m_started = started;
}

}  // namespace media
}  // namespace dbi
