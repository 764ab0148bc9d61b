#include "dbi/vigil/Policy.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(Policy, "vigil_policy", DBI_VIGIL_POLICY_COLUMNS)

Policy::Policy(int partitionNumber, int policyActionId, int basicScanInterval, int normalScanInterval,
               int fullScanInterval, int tapeAlertThreshold, int tapeAlertScanType, int onImportScanType,
               int onSuspectCountScanType, int afterRasFailType, int concurrentScanCount, int scanPriority,
               int onExportFailType, int onCopyRequestFailType, bool reportInaccessible, bool isPaused) {
    m_partition.setIntValue(partitionNumber);
    m_actionId.setIntValue(policyActionId);
    m_basicInterval.setIntValue(basicScanInterval);
    m_normalInterval.setIntValue(normalScanInterval);
    m_fullInterval.setIntValue(fullScanInterval);
    m_taThreshold.setIntValue(tapeAlertThreshold);
    m_taScanType.setIntValue(tapeAlertScanType);
    m_importScanType.setIntValue(onImportScanType);
    m_suspectCountScanType.setIntValue(onSuspectCountScanType);
    m_postRasFailType.setIntValue(afterRasFailType);
    m_concurrentScans.setIntValue(concurrentScanCount);
    m_priority.setIntValue(scanPriority);
    m_exportMediaFailType.setIntValue(onExportFailType);
    m_requestCopyFailType.setIntValue(onCopyRequestFailType);
    m_reportMediaInaccessible = reportInaccessible;
    m_paused = isPaused;
}

}  // namespace vigil
}  // namespace dbi
