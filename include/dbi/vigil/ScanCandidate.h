#ifndef DBI_VIGIL_SCANCANDIDATE_H
#define DBI_VIGIL_SCANCANDIDATE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// One cartridge queued for a scan: the scan type, where the cartridge is
/// (partition number and element) and the priority of the request.
#define DBI_VIGIL_SCANCANDIDATE_COLUMNS(COLUMN, C)    \
    COLUMN(C, IntegerField, id, "id")                 \
    COLUMN(C, CharField, voltag, "voltag")            \
    COLUMN(C, IntegerField, scanType, "scan_type")    \
    COLUMN(C, IntegerField, partition, "partition")   \
    COLUMN(C, IntegerField, elementId, "element_id")  \
    COLUMN(C, IntegerField, priority, "priority")

/// A row of table vigil_scancandidate, with the columns DBI_VIGIL_SCANCANDIDATE_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT ScanCandidate : public dbi::Table<ScanCandidate> {
    DBI_RECORD(ScanCandidate, DBI_VIGIL_SCANCANDIDATE_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    ScanCandidate(const std::string& volumeTag, int type, int partitionNumber, int element, int scanPriority);
};

}  // namespace vigil
}  // namespace dbi

#endif
