#ifndef DBI_TREND_TAPEALERT_H
#define DBI_TREND_TAPEALERT_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace trend {

/// One TapeAlert flag (tape_alert) raised by the drive with serial number
/// serial_num while cartridge volser was loaded, kept for media reports.
#define DBI_TREND_TAPEALERT_COLUMNS(COLUMN, C)       \
    COLUMN(C, IntegerField, id, "id")                \
    COLUMN(C, CharField, serialNum, "serial_num")    \
    COLUMN(C, CharField, volser, "volser")           \
    COLUMN(C, IntegerField, tapeAlert, "tape_alert") \
    COLUMN(C, DateTimeField, timeStamp, "time_stamp")

/// A row of table trend_tapealert, with the columns DBI_TREND_TAPEALERT_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT TapeAlert : public dbi::Table<TapeAlert> {
    DBI_RECORD(TapeAlert, DBI_TREND_TAPEALERT_COLUMNS)
public:
    /// The time stamp is a date-time text, stored as given.
    TapeAlert(const std::string& serialNum, const std::string& volser, int tapeAlert, const std::string& timeStamp);
};

}  // namespace trend
}  // namespace dbi

#endif
