#ifndef DBI_LIBRARY_CRSTATE_H
#define DBI_LIBRARY_CRSTATE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

/// A life-cycle state of a command; commands carry its id in state_id. The
/// schema seeds the rows of the four states below.
#define DBI_LIBRARY_CRSTATE_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")          \
    COLUMN(C, CharField, name, "name")

/// A row of table library_crstate, with the columns DBI_LIBRARY_CRSTATE_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT CRState : public dbi::Table<CRState> {
    DBI_RECORD(CRState, DBI_LIBRARY_CRSTATE_COLUMNS)
public:
    /// The state ids the command channel writes; a model row uses 0 as the
    /// wildcard for any state.
    enum enum_type {
        NEW = 1,        ///< posted, waiting for a responder
        ACCEPTED = 2,   ///< a responder has taken it
        COMPLETED = 3,  ///< the result columns hold the answer
        TIMED_OUT = 4   // the sender stopped waiting
    };

    /// A row under the well-known `id`, for createOrUpdate().
    CRState(int id, const std::string& name);
};

}  // namespace library
}  // namespace dbi

#endif
