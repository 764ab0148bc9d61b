#include "dbi/vigil/NextScan.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(NextScan, "vigil_nextscan", DBI_VIGIL_NEXTSCAN_COLUMNS)

NextScan::NextScan(const std::string& dueAt) { m_moment = dueAt; }

}  // namespace vigil
}  // namespace dbi
