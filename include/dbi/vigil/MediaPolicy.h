#ifndef DBI_VIGIL_MEDIAPOLICY_H
#define DBI_VIGIL_MEDIAPOLICY_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

class Policy;

/// A cartridge's scan state together with the partition it sits in (by
/// name) and the policy that governs it.
#define DBI_VIGIL_MEDIAPOLICY_COLUMNS(COLUMN, C)                             \
    COLUMN(C, IntegerField, id, "id")                                        \
    COLUMN(C, CharField, serialNumber, "serial_number")                      \
    COLUMN(C, CharField, voltag, "voltag")                                   \
    COLUMN(C, CharField, partitionName, "partition_name")                    \
    COLUMN(C, ForeignKey<Policy>, policyId, "policy_id")                     \
    COLUMN(C, IntegerField, scanNowType, "scan_now_type")                    \
    COLUMN(C, IntegerField, copyAttemptsRemaining, "copy_attempts_remaining") \
    COLUMN(C, DateTimeField, lastBasicScan, "last_basic_scan")               \
    COLUMN(C, DateTimeField, lastNormalScan, "last_normal_scan")             \
    COLUMN(C, DateTimeField, lastFullScan, "last_full_scan")

/// A row of table vigil_mediapolicy, with the columns DBI_VIGIL_MEDIAPOLICY_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT MediaPolicy : public dbi::Table<MediaPolicy> {
    DBI_RECORD(MediaPolicy, DBI_VIGIL_MEDIAPOLICY_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    MediaPolicy(const std::string& serial, const std::string& volumeTag, const std::string& partitionLabel,
                int governingPolicyId, int scanNow, int copyAttemptsLeft, const std::string& basicScanTime,
                const std::string& normalScanTime, const std::string& fullScanTime);
};

}  // namespace vigil
}  // namespace dbi

#endif
