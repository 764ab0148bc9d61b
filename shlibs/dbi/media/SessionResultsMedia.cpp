#include "dbi/media/SessionResultsMedia.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(SessionResultsMedia, "media_sessionresultsmedia", DBI_MEDIA_SESSIONRESULTSMEDIA_COLUMNS)

SessionResultsMedia::SessionResultsMedia(int sessionId) {
    m_sessionId.setIntValue(sessionId);
}

}  // namespace media
}  // namespace dbi
