#include "dbi/vigil/ScanCandidate.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(ScanCandidate, "vigil_scancandidate", DBI_VIGIL_SCANCANDIDATE_COLUMNS)

ScanCandidate::ScanCandidate(const std::string& volumeTag, int type, int partitionNumber, int element,
                             int scanPriority) {
    m_voltag = volumeTag;
    m_scanType.setIntValue(type);
    m_partition.setIntValue(partitionNumber);
    m_elementId.setIntValue(element);
    m_priority.setIntValue(scanPriority);
}

}  // namespace vigil
}  // namespace dbi
