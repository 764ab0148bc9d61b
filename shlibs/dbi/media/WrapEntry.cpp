#include "dbi/media/WrapEntry.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(WrapEntry, "media_wrapentry", DBI_MEDIA_WRAPENTRY_COLUMNS)

WrapEntry::WrapEntry(int mediaId, int wrapEntryNum, int writePass, int dataSet, int howCount, int eowCount,
                     int howFileMarkCount, int eowFileMarkCount, int fileMarkMap) {
    m_mediaId.setIntValue(mediaId);
    m_wrapEntryNum.setIntValue(wrapEntryNum);
    m_writePass.setIntValue(writePass);
    m_dataSet.setIntValue(dataSet);
    m_howCount.setIntValue(howCount);
    m_eowCount.setIntValue(eowCount);
    m_howFileMarkCount.setIntValue(howFileMarkCount);
    m_eowFileMarkCount.setIntValue(eowFileMarkCount);
    m_fileMarkMap.setIntValue(fileMarkMap);
}

}  // namespace media
}  // namespace dbi
