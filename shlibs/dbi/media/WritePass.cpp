#include "dbi/media/WritePass.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(WritePass, "media_writepass", DBI_MEDIA_WRITEPASS_COLUMNS)

WritePass::WritePass(int mediaId, int writePass0, int writePass1, int writePass2, int writePass3, int writePass4,
                     int writePass5, int writePass6, int writePass7) {
    m_mediaId.setIntValue(mediaId);
    m_writePass0.setIntValue(writePass0);
    m_writePass1.setIntValue(writePass1);
    m_writePass2.setIntValue(writePass2);
    m_writePass3.setIntValue(writePass3);
    m_writePass4.setIntValue(writePass4);
    m_writePass5.setIntValue(writePass5);
    m_writePass6.setIntValue(writePass6);
    m_writePass7.setIntValue(writePass7);
}

WritePass WritePass::getByMediaId(int mediaId, dbi::Transaction& transaction) {
    return dbi::Query<WritePass>().equals(WritePass::mediaId, mediaId, m_tableName).get(transaction);
}

}  // namespace media
}  // namespace dbi
