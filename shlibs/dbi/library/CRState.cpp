#include "dbi/library/CRState.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(CRState, "library_crstate", DBI_LIBRARY_CRSTATE_COLUMNS)

CRState::CRState(int id, const std::string& name) {
    m_id.setIntValue(id);
    m_name = name;
}

}  // namespace library
}  // namespace dbi
