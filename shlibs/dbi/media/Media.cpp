#include "dbi/media/Media.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(Media, "media_media", DBI_MEDIA_MEDIA_COLUMNS)

Media::Media(const std::string& serialNumber, short cartridgeType, const std::string& manufacturer,
             const std::string& manufactureDate, bool blockProtection) {
    m_serialNumber = serialNumber;
    m_cartridgeType.setIntValue(cartridgeType);
    m_manufacturer = manufacturer;
    m_manufactureDate = manufactureDate;
    m_blockProtection = blockProtection;
}

}  // namespace media
}  // namespace dbi
