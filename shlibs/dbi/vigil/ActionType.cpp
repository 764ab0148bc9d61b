#include "dbi/vigil/ActionType.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(ActionType, "vigil_actiontype", DBI_VIGIL_ACTIONTYPE_COLUMNS)

ActionType::ActionType(const std::string& typeName, const std::string& typeVersion, const std::string& text) {
    m_name = typeName;
    m_version = typeVersion;
    m_description = text;
}

}  // namespace vigil
}  // namespace dbi
