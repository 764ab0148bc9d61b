#include "dbi/vigil/Action.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(Action, "vigil_action", DBI_VIGIL_ACTION_COLUMNS)

Action::Action(const std::string& actionName, int typeId, const std::string& hostName, int hostPort,
               const std::string& failoverHostName, int failoverHostPort) {
    m_name = actionName;
    m_actionTypeId.setIntValue(typeId);
    m_host = hostName;
    m_port.setIntValue(hostPort);
    m_failoverHost = failoverHostName;
    m_failoverPort.setIntValue(failoverHostPort);
}

}  // namespace vigil
}  // namespace dbi
