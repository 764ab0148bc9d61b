#ifndef DBI_VIGIL_ACTIONTYPE_H
#define DBI_VIGIL_ACTIONTYPE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// A kind of action that a scan outcome can trigger, named and versioned;
/// configured actions point at their type.
#define DBI_VIGIL_ACTIONTYPE_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")           \
    COLUMN(C, CharField, name, "name")          \
    COLUMN(C, CharField, version, "version")    \
    COLUMN(C, CharField, description, "description")

/// A row of table vigil_actiontype, with the columns DBI_VIGIL_ACTIONTYPE_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT ActionType : public dbi::Table<ActionType> {
    DBI_RECORD(ActionType, DBI_VIGIL_ACTIONTYPE_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    ActionType(const std::string& typeName, const std::string& typeVersion, const std::string& text);
};

}  // namespace vigil
}  // namespace dbi

#endif
