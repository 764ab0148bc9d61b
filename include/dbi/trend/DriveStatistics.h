#ifndef DBI_TREND_DRIVESTATISTICS_H
#define DBI_TREND_DRIVESTATISTICS_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace trend {

/// One mount of cartridge volser in the drive at slot_number, kept for drive
/// reports. unmount_time stays empty while the cartridge is still mounted.
#define DBI_TREND_DRIVESTATISTICS_COLUMNS(COLUMN, C)      \
    COLUMN(C, IntegerField, id, "id")                     \
    COLUMN(C, IntegerField, slotNumber, "slot_number")    \
    COLUMN(C, DateTimeField, mountTime, "mount_time")     \
    COLUMN(C, DateTimeField, unmountTime, "unmount_time") \
    COLUMN(C, CharField, volser, "volser")

/// A row of table trend_drivestatistics, with the columns DBI_TREND_DRIVESTATISTICS_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT DriveStatistics : public dbi::Table<DriveStatistics> {
    DBI_RECORD(DriveStatistics, DBI_TREND_DRIVESTATISTICS_COLUMNS)
public:
    /// The times are date-time texts, stored as given.
    DriveStatistics(int slotNumber, const std::string& mountTime, const std::string& unmountTime,
                    const std::string& volser);
};

}  // namespace trend
}  // namespace dbi

#endif
