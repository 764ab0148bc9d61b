#include "dbi/media/CartridgeStatus.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(CartridgeStatus, "media_cartridgestatus", DBI_MEDIA_CARTRIDGESTATUS_COLUMNS)

CartridgeStatus::CartridgeStatus(int mediaId, long long tapeAlertFlags, int threadCount, short status,
                                 long long firstEncryptedLogicalObject) {
    m_mediaId.setIntValue(mediaId);
    m_tapeAlertFlags.setIntValue(tapeAlertFlags);
    m_threadCount.setIntValue(threadCount);
    m_status.setIntValue(status);
    m_firstEncryptedLogicalObject.setIntValue(firstEncryptedLogicalObject);
}

CartridgeStatus CartridgeStatus::getByMediaId(int mediaId, dbi::Transaction& transaction) {
    return dbi::Query<CartridgeStatus>().equals(CartridgeStatus::mediaId, mediaId, m_tableName).get(transaction);
}

}  // namespace media
}  // namespace dbi
