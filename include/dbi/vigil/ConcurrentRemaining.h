#ifndef DBI_VIGIL_CONCURRENTREMAINING_H
#define DBI_VIGIL_CONCURRENTREMAINING_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// How many more scans may be started while the running ones continue.
#define DBI_VIGIL_CONCURRENTREMAINING_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")                    \
    COLUMN(C, IntegerField, remaining, "remaining")

/// A row of table vigil_concurrentremaining, with the columns DBI_VIGIL_CONCURRENTREMAINING_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT ConcurrentRemaining : public dbi::Table<ConcurrentRemaining> {
    DBI_RECORD(ConcurrentRemaining, DBI_VIGIL_CONCURRENTREMAINING_COLUMNS)
public:
    /// A new row, without id until saved, holding this column value.
    explicit ConcurrentRemaining(int scansLeft);
};

}  // namespace vigil
}  // namespace dbi

#endif
