#ifndef DBI_MEDIA_DYNAMICDATA_H
#define DBI_MEDIA_DYNAMICDATA_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_DYNAMICDATA_COLUMNS(COLUMN, C)                                  \
    COLUMN(C, IntegerField, id, "id")                                             \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")                      \
    COLUMN(C, IntegerField, wrap, "wrap")                                         \
    COLUMN(C, IntegerField, region, "region")                                     \
    COLUMN(C, IntegerField, errorsCorrectedWoDelay, "errors_corrected_wo_delay")  \
    COLUMN(C, IntegerField, errorsCorrectedDelay, "errors_corrected_delay")       \
    COLUMN(C, IntegerField, correctedErrors, "corrected_errors")                  \
    COLUMN(C, IntegerField, uncorrectedErrors, "uncorrected_errors")              \
    COLUMN(C, IntegerField, totalErrors, "total_errors")                          \
    COLUMN(C, IntegerField, errorCorrectionsInvoked, "error_corrections_invoked") \
    COLUMN(C, IntegerField, bytesProcessed, "bytes_processed")                    \
    COLUMN(C, IntegerField, tapeAlertFlagsHi, "tape_alert_flags_hi")              \
    COLUMN(C, IntegerField, tapeAlertFlagsLo, "tape_alert_flags_lo")              \
    COLUMN(C, IntegerField, dsRead, "ds_read")                                    \
    COLUMN(C, IntegerField, readRetries, "read_retries")                          \
    COLUMN(C, IntegerField, unrecoverableErrors, "unrecoverable_errors")          \
    COLUMN(C, IntegerField, deviceStatusBits, "device_status_bits")

/// Error counters of a cartridge per wrap and region. The TapeAlert flags are
/// kept as two 32-bit halves (hi, lo), unlike the single 64-bit value of
/// CartridgeStatus.
class DBI_EXPORT DynamicData : public dbi::Table<DynamicData> {
    DBI_RECORD(DynamicData, DBI_MEDIA_DYNAMICDATA_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    DynamicData(int mediaId, int wrap, int region, int errorsCorrectedWoDelay, int errorsCorrectedDelay,
                int correctedErrors, int uncorrectedErrors, int totalErrors, int errorCorrectionsInvoked,
                int bytesProcessed, int tapeAlertFlagsHi, int tapeAlertFlagsLo, int dsRead, int readRetries,
                int unrecoverableErrors, int deviceStatusBits);
};

}  // namespace media
}  // namespace dbi

#endif
