#include "dbi/library/CREndpoint.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(CREndpoint, "library_crendpoint", DBI_LIBRARY_CRENDPOINT_COLUMNS)

CREndpoint::CREndpoint(int id, const std::string& name) {
    m_id.setIntValue(id);
    m_name = name;
}

}  // namespace library
}  // namespace dbi
