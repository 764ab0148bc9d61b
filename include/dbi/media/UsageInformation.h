#ifndef DBI_MEDIA_USAGEINFORMATION_H
#define DBI_MEDIA_USAGEINFORMATION_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_USAGEINFORMATION_COLUMNS(COLUMN, C)                              \
    COLUMN(C, IntegerField, id, "id")                                              \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")                       \
    COLUMN(C, IntegerField, pageId, "page_id")                                     \
    COLUMN(C, CharField, driveManufacturer, "drive_manufacturer")                  \
    COLUMN(C, CharField, driveId, "drive_id")                                      \
    COLUMN(C, IntegerField, suspendedWritesAtAppend, "suspended_writes_at_append") \
    COLUMN(C, IntegerField, threadCount, "thread_count")                           \
    COLUMN(C, BigIntegerField, dataSetsWritten, "data_sets_written")               \
    COLUMN(C, BigIntegerField, dataSetsRead, "data_sets_read")                     \
    COLUMN(C, IntegerField, writeRetries, "write_retries")                         \
    COLUMN(C, IntegerField, readRetries, "read_retries")                           \
    COLUMN(C, IntegerField, unrecoveredWriteErrors, "unrecovered_write_errors")    \
    COLUMN(C, IntegerField, unrecoveredReadErrors, "unrecovered_read_errors")      \
    COLUMN(C, IntegerField, suspendedWrites, "suspended_writes")                   \
    COLUMN(C, IntegerField, fatalSuspendedWrites, "fatal_suspended_writes")

/// Usage counters of one drive on a cartridge, keyed by the log page they
/// came from (page_id).
class DBI_EXPORT UsageInformation : public dbi::Table<UsageInformation> {
    DBI_RECORD(UsageInformation, DBI_MEDIA_USAGEINFORMATION_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    UsageInformation(int mediaId, short pageId, const std::string& driveManufacturer, const std::string& driveId,
                     short suspendedWritesAtAppend, int threadCount, long long dataSetsWritten, long long dataSetsRead,
                     int writeRetries, int readRetries, short unrecoveredWriteErrors, short unrecoveredReadErrors,
                     short suspendedWrites, short fatalSuspendedWrites);
};

}  // namespace media
}  // namespace dbi

#endif
