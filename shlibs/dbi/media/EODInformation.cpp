#include "dbi/media/EODInformation.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(EODInformation, "media_eodinformation", DBI_MEDIA_EODINFORMATION_COLUMNS)

EODInformation::EODInformation(int mediaId, int writePass, int threadCount, long long recordCount,
                               long long fileMarkCount, int dataSetNumber, int wrapNumber, short validity) {
    m_mediaId.setIntValue(mediaId);
    m_writePass.setIntValue(writePass);
    m_threadCount.setIntValue(threadCount);
    m_recordCount.setIntValue(recordCount);
    m_fileMarkCount.setIntValue(fileMarkCount);
    m_dataSetNumber.setIntValue(dataSetNumber);
    m_wrapNumber.setIntValue(wrapNumber);
    m_validity.setIntValue(validity);
}

EODInformation EODInformation::getByMediaId(int mediaId, dbi::Transaction& transaction) {
    return dbi::Query<EODInformation>().equals(EODInformation::mediaId, mediaId, m_tableName).get(transaction);
}

}  // namespace media
}  // namespace dbi
