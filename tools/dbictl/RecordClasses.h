#ifndef DBI_TOOLS_DBICTL_RECORDCLASSES_H
#define DBI_TOOLS_DBICTL_RECORDCLASSES_H

#include <dbi/dbi.h>

namespace dbictl {

template <class... Records>
struct RecordList {
    // Calls f(Record*) with a null pointer of each record class, in order,
    // until f returns true; says whether one did.
    template <class F>
    static bool findIf(F&& f) {
        return (f(static_cast<Records*>(nullptr)) || ...);
    }
};

// Every record class of the library: one per table of the schema.
using AllRecords = RecordList<
    dbi::library::CREndpoint, dbi::library::CROperation, dbi::library::CRState, dbi::library::CommandResponse,
    dbi::library::Element, dbi::library::Event, dbi::library::Partition, dbi::media::ApplicationData,
    dbi::media::CartridgeStatus, dbi::media::DynamicData, dbi::media::EODInformation, dbi::media::ErrorUsage,
    dbi::media::Media, dbi::media::Session, dbi::media::SessionDrive, dbi::media::SessionResults,
    dbi::media::SessionResultsMedia, dbi::media::Settings, dbi::media::UsageInformation, dbi::media::WrapEntry,
    dbi::media::WritePass, dbi::trend::DriveStatistics, dbi::trend::TapeAlert, dbi::vigil::Action,
    dbi::vigil::ActionType, dbi::vigil::ConcurrentRemaining, dbi::vigil::Media, dbi::vigil::MediaPolicy,
    dbi::vigil::NextScan, dbi::vigil::Policy, dbi::vigil::ScanCandidate, dbi::vigil::Settings>;

// The table names of all record classes, in the order above.
std::vector<std::string> knownTables();

}  // namespace dbictl

#endif
