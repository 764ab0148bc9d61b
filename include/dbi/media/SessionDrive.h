#ifndef DBI_MEDIA_SESSIONDRIVE_H
#define DBI_MEDIA_SESSIONDRIVE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Session;
class SessionResults;

#define DBI_MEDIA_SESSIONDRIVE_COLUMNS(COLUMN, C)                                        \
    COLUMN(C, IntegerField, id, "id")                                                    \
    COLUMN(C, ForeignKey<media::Session>, sessionId, "session_id")                       \
    COLUMN(C, IntegerField, drive, "drive")                                              \
    COLUMN(C, ForeignKey<media::SessionResults>, sessionResultsId, "session_results_id") \
    COLUMN(C, BooleanField, inUse, "in_use")                                             \
    COLUMN(C, CharField, blade, "blade")                                                 \
    COLUMN(C, CharField, serialNumber, "serial_number")                                  \
    COLUMN(C, IntegerField, lastTapeAlert, "last_tape_alert")                            \
    COLUMN(C, IntegerField, driveType, "drive_type")

/// One drive taking part in a test session, with the result row it is
/// working on and the last TapeAlert it reported.
class DBI_EXPORT SessionDrive : public dbi::Table<SessionDrive> {
    DBI_RECORD(SessionDrive, DBI_MEDIA_SESSIONDRIVE_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    SessionDrive(int sessionId, int drive, int sessionResultsId, bool inUse, const std::string& blade,
                 const std::string& serialNumber, int lastTapeAlert, int driveType);
};

}  // namespace media
}  // namespace dbi

#endif
