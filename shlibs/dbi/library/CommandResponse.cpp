#include "dbi/library/CommandResponse.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(CommandResponse, "library_commandresponse", DBI_LIBRARY_COMMANDRESPONSE_COLUMNS)

CommandResponse::CommandResponse(int sourceId, int operationId, const std::string& stringArgument, int intArgument,
                                 int targetId, const std::string& endTime, const std::string& startTime, int result,
                                 const std::string& resultString, int stateId) {
    m_sourceId.setIntValue(sourceId);
    m_operationId.setIntValue(operationId);
    m_stringArgument = stringArgument;
    m_intArgument.setIntValue(intArgument);
    m_targetId.setIntValue(targetId);
    m_endTime = endTime;
    m_startTime = startTime;
    m_result.setIntValue(result);
    m_resultString = resultString;
    m_stateId.setIntValue(stateId);
}

}  // namespace library
}  // namespace dbi
