#ifndef DBI_VIGIL_ACTION_H
#define DBI_VIGIL_ACTION_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

class ActionType;

/// One configured action of a given type, sent to a host and port, with a
/// failover host and port used when the first cannot be reached.
#define DBI_VIGIL_ACTION_COLUMNS(COLUMN, C)                          \
    COLUMN(C, IntegerField, id, "id")                                \
    COLUMN(C, CharField, name, "name")                               \
    COLUMN(C, ForeignKey<ActionType>, actionTypeId, "action_type_id") \
    COLUMN(C, CharField, host, "host")                               \
    COLUMN(C, IntegerField, port, "port")                            \
    COLUMN(C, CharField, failoverHost, "failover_host")              \
    COLUMN(C, IntegerField, failoverPort, "failover_port")

/// A row of table vigil_action, with the columns DBI_VIGIL_ACTION_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Action : public dbi::Table<Action> {
    DBI_RECORD(Action, DBI_VIGIL_ACTION_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Action(const std::string& actionName, int typeId, const std::string& hostName, int hostPort,
           const std::string& failoverHostName, int failoverHostPort);
};

}  // namespace vigil
}  // namespace dbi

#endif
