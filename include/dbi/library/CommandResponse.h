#ifndef DBI_LIBRARY_COMMANDRESPONSE_H
#define DBI_LIBRARY_COMMANDRESPONSE_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

class CREndpoint;
class CROperation;
class CRState;

/// One command posted by process source_id for process target_id (0 for a
/// one-way event), and, once completed, its answer in result and
/// result_string. state_id follows the life cycle of CRState::enum_type.
#define DBI_LIBRARY_COMMANDRESPONSE_COLUMNS(COLUMN, C)              \
    COLUMN(C, IntegerField, id, "id")                               \
    COLUMN(C, ForeignKey<CREndpoint>, sourceId, "source_id")        \
    COLUMN(C, ForeignKey<CROperation>, operationId, "operation_id") \
    COLUMN(C, CharField, stringArgument, "string_argument")         \
    COLUMN(C, IntegerField, intArgument, "int_argument")            \
    COLUMN(C, ForeignKey<CREndpoint>, targetId, "target_id")        \
    COLUMN(C, DateTimeField, endTime, "end_time")                   \
    COLUMN(C, DateTimeField, startTime, "start_time")               \
    COLUMN(C, IntegerField, result, "result")                       \
    COLUMN(C, CharField, resultString, "result_string")             \
    COLUMN(C, ForeignKey<CRState>, stateId, "state_id")

/// A row of table library_commandresponse, with the columns DBI_LIBRARY_COMMANDRESPONSE_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT CommandResponse : public dbi::Table<CommandResponse> {
    DBI_RECORD(CommandResponse, DBI_LIBRARY_COMMANDRESPONSE_COLUMNS)
public:
    /// The times are date-time texts, stored as given; empty means not yet.
    CommandResponse(int sourceId, int operationId, const std::string& stringArgument, int intArgument, int targetId,
                    const std::string& endTime, const std::string& startTime, int result,
                    const std::string& resultString, int stateId);
};

}  // namespace library
}  // namespace dbi

#endif
