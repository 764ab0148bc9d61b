#ifndef DBI_MEDIA_ERRORUSAGE_H
#define DBI_MEDIA_ERRORUSAGE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_ERRORUSAGE_COLUMNS(COLUMN, C)                                    \
    COLUMN(C, IntegerField, id, "id")                                              \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")                       \
    COLUMN(C, IntegerField, isReadError, "is_read_error")                          \
    COLUMN(C, CharField, driveManufacturer, "drive_manufacturer")                  \
    COLUMN(C, CharField, driveId, "drive_id")                                      \
    COLUMN(C, IntegerField, driveGeneration, "drive_generation")                   \
    COLUMN(C, IntegerField, firmwareIdentity, "firmware_identity")                 \
    COLUMN(C, IntegerField, suspendedWritesAtAppend, "suspended_writes_at_append") \
    COLUMN(C, IntegerField, threadCount, "thread_count")                           \
    COLUMN(C, BigIntegerField, dataSetsWritten, "data_sets_written")               \
    COLUMN(C, BigIntegerField, dataSetsRead, "data_sets_read")                     \
    COLUMN(C, IntegerField, writeRetries, "write_retries")                         \
    COLUMN(C, IntegerField, readRetries, "read_retries")                           \
    COLUMN(C, IntegerField, unrecoveredWriteErrors, "unrecovered_write_errors")    \
    COLUMN(C, IntegerField, unrecoveredReadErrors, "unrecovered_read_errors")      \
    COLUMN(C, IntegerField, suspendedWrites, "suspended_writes")                   \
    COLUMN(C, IntegerField, fatalSuspendedWrites, "fatal_suspended_writes")        \
    COLUMN(C, IntegerField, writePass, "write_pass")                               \
    COLUMN(C, IntegerField, dataSet, "data_set")                                   \
    COLUMN(C, IntegerField, dataSetPhysicalPosition, "data_set_physical_position") \
    COLUMN(C, IntegerField, dataSetWrapNumber, "data_set_wrap_number")

/// Error and usage counters of one drive on a cartridge, with the data-set
/// position of the error; is_read_error tells a read error from a write error.
class DBI_EXPORT ErrorUsage : public dbi::Table<ErrorUsage> {
    DBI_RECORD(ErrorUsage, DBI_MEDIA_ERRORUSAGE_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    ErrorUsage(int mediaId, short isReadError, const std::string& driveManufacturer, const std::string& driveId,
               short driveGeneration, int firmwareIdentity, short suspendedWritesAtAppend, int threadCount,
               long long dataSetsWritten, long long dataSetsRead, int writeRetries, int readRetries,
               short unrecoveredWriteErrors, short unrecoveredReadErrors, short suspendedWrites,
               short fatalSuspendedWrites, int writePass, int dataSet, int dataSetPhysicalPosition,
               int dataSetWrapNumber);
};

}  // namespace media
}  // namespace dbi

#endif
