#include "dbi/vigil/ConcurrentRemaining.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(ConcurrentRemaining, "vigil_concurrentremaining", DBI_VIGIL_CONCURRENTREMAINING_COLUMNS)

ConcurrentRemaining::ConcurrentRemaining(int scansLeft) { m_remaining.setIntValue(scansLeft); }

}  // namespace vigil
}  // namespace dbi
