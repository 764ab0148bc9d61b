#ifndef DBI_VIGIL_NEXTSCAN_H
#define DBI_VIGIL_NEXTSCAN_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// When the next scheduled scan is due.
#define DBI_VIGIL_NEXTSCAN_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")         \
    COLUMN(C, DateTimeField, moment, "moment")

/// A row of table vigil_nextscan, with the columns DBI_VIGIL_NEXTSCAN_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT NextScan : public dbi::Table<NextScan> {
    DBI_RECORD(NextScan, DBI_VIGIL_NEXTSCAN_COLUMNS)
public:
    /// A new row, without id until saved, holding this column value.
    explicit NextScan(const std::string& dueAt);
};

}  // namespace vigil
}  // namespace dbi

#endif
