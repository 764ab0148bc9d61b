#include "dbi/media/ApplicationData.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(ApplicationData, "media_applicationdata", DBI_MEDIA_APPLICATIONDATA_COLUMNS)

ApplicationData::ApplicationData(int mediaId, const std::string& vendor, const std::string& name,
                                 const std::string& version, const std::string& userTextLabel,
                                 const std::string& lastWritten, short textLocalisationId, const std::string& barcode,
                                 const std::string& owningHost, const std::string& mediaPool) {
    m_mediaId.setIntValue(mediaId);
    m_vendor = vendor;
    m_name = name;
    m_version = version;
    m_userTextLabel = userTextLabel;
    m_lastWritten = lastWritten;
    m_textLocalisationId.setIntValue(textLocalisationId);
    m_barcode = barcode;
    m_owningHost = owningHost;
    m_mediaPool = mediaPool;
}

ApplicationData ApplicationData::getByMediaId(int mediaId, dbi::Transaction& transaction) {
    return dbi::Query<ApplicationData>().equals(ApplicationData::mediaId, mediaId, m_tableName).get(transaction);
}

}  // namespace media
}  // namespace dbi
