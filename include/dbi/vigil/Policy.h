#ifndef DBI_VIGIL_POLICY_H
#define DBI_VIGIL_POLICY_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

class Action;

/// The scan policy of one partition: the action to run, the intervals of the
/// basic, normal and full scans, what triggers extra scans, how failures are
/// handled, and whether scanning is paused. The "_type" columns hold codes
/// owned by the scanning application.
#define DBI_VIGIL_POLICY_COLUMNS(COLUMN, C)                                        \
    COLUMN(C, IntegerField, id, "id")                                              \
    COLUMN(C, IntegerField, partition, "partition")                                \
    COLUMN(C, ForeignKey<Action>, actionId, "action_id")                           \
    COLUMN(C, IntegerField, basicInterval, "basic_interval")                       \
    COLUMN(C, IntegerField, normalInterval, "normal_interval")                     \
    COLUMN(C, IntegerField, fullInterval, "full_interval")                         \
    COLUMN(C, IntegerField, taThreshold, "ta_threshold")                           \
    COLUMN(C, IntegerField, taScanType, "ta_scan_type")                            \
    COLUMN(C, IntegerField, importScanType, "import_scan_type")                    \
    COLUMN(C, IntegerField, suspectCountScanType, "suspect_count_scan_type")       \
    COLUMN(C, IntegerField, postRasFailType, "post_ras_fail_type")                 \
    COLUMN(C, IntegerField, concurrentScans, "concurrent_scans")                   \
    COLUMN(C, IntegerField, priority, "priority")                                  \
    COLUMN(C, IntegerField, exportMediaFailType, "export_media_fail_type")         \
    COLUMN(C, IntegerField, requestCopyFailType, "request_copy_fail_type")         \
    COLUMN(C, BooleanField, reportMediaInaccessible, "report_media_inaccessible")  \
    COLUMN(C, BooleanField, paused, "paused")

/// A row of table vigil_policy, with the columns DBI_VIGIL_POLICY_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Policy : public dbi::Table<Policy> {
    DBI_RECORD(Policy, DBI_VIGIL_POLICY_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Policy(int partitionNumber, int policyActionId, int basicScanInterval, int normalScanInterval,
           int fullScanInterval, int tapeAlertThreshold, int tapeAlertScanType, int onImportScanType,
           int onSuspectCountScanType, int afterRasFailType, int concurrentScanCount, int scanPriority,
           int onExportFailType, int onCopyRequestFailType, bool reportInaccessible, bool isPaused);
};

}  // namespace vigil
}  // namespace dbi

#endif
