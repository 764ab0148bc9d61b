#ifndef DBI_LIBRARY_CROPERATION_H
#define DBI_LIBRARY_CROPERATION_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

/// An operation that can be asked for on the command channel. Rows are
/// created under well-known ids, which commands carry in operation_id.
#define DBI_LIBRARY_CROPERATION_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")              \
    COLUMN(C, CharField, name, "name")

/// A row of table library_croperation, with the columns DBI_LIBRARY_CROPERATION_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT CROperation : public dbi::Table<CROperation> {
    DBI_RECORD(CROperation, DBI_LIBRARY_CROPERATION_COLUMNS)
public:
    /// Operation ids as stored in commands. Each deployment stores a
    /// library_croperation row under the id of every operation it uses; the
    /// ids below are the ones this appliance's processes are known by, and a
    /// caller may static_cast any other id a deployment defines.
    enum enum_type {
        NO_OPERATION = 0,      ///< wildcard in models; names no row
        INVENTORY = 1,         ///< rescan the robot's elements
        MOVE_MEDIUM = 2,       ///< move a cartridge between two elements
        START_MEDIA_SCAN = 3,  ///< begin an integrity scan of a cartridge
        STOP_MEDIA_SCAN = 4    // abandon a running integrity scan
    };

    /// A row under the well-known `id`, for createOrUpdate().
    CROperation(int id, const std::string& name);
};

}  // namespace library
}  // namespace dbi

#endif
