#include "dbi/library/CROperation.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(CROperation, "library_croperation", DBI_LIBRARY_CROPERATION_COLUMNS)

CROperation::CROperation(int id, const std::string& name) {
    m_id.setIntValue(id);
    m_name = name;
}

}  // namespace library
}  // namespace dbi
