#ifndef DBI_LIBRARY_EVENT_H
#define DBI_LIBRARY_EVENT_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

/// One entry of the change journal: column action_column of row row_id of
/// table which_table changed from old_value to new_value at event_time. For
/// whole-row changes action_column is "INSERT", "UPDATE" or "DELETE".
#define DBI_LIBRARY_EVENT_COLUMNS(COLUMN, C)            \
    COLUMN(C, IntegerField, id, "id")                   \
    COLUMN(C, CharField, whichTable, "which_table")     \
    COLUMN(C, IntegerField, rowId, "row_id")            \
    COLUMN(C, CharField, actionColumn, "action_column") \
    COLUMN(C, CharField, oldValue, "old_value")         \
    COLUMN(C, CharField, newValue, "new_value")         \
    COLUMN(C, DateTimeField, eventTime, "event_time")

/// A row of table library_event, with the columns DBI_LIBRARY_EVENT_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Event : public dbi::Table<Event> {
    DBI_RECORD(Event, DBI_LIBRARY_EVENT_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Event(const std::string& whichTable, int rowId, const std::string& actionColumn, const std::string& oldValue,
          const std::string& newValue, const std::string& eventTime);
};

}  // namespace library
}  // namespace dbi

#endif
