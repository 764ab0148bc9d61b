#include "dbi/media/SessionDrive.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(SessionDrive, "media_sessiondrive", DBI_MEDIA_SESSIONDRIVE_COLUMNS)

SessionDrive::SessionDrive(int sessionId, int drive, int sessionResultsId, bool inUse, const std::string& blade,
                           const std::string& serialNumber, int lastTapeAlert, int driveType) {
    m_sessionId.setIntValue(sessionId);
    m_drive.setIntValue(drive);
    m_sessionResultsId.setIntValue(sessionResultsId);
    m_inUse = inUse;
    m_blade = blade;
    m_serialNumber = serialNumber;
    m_lastTapeAlert.setIntValue(lastTapeAlert);
    m_driveType.setIntValue(driveType);
}

}  // namespace media
}  // namespace dbi
