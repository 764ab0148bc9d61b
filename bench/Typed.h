// What the hand-written contenders read rows into, and the statements and
// prepared inputs they share.
#ifndef DBI_BENCH_TYPED_H
#define DBI_BENCH_TYPED_H

#include <string>
#include <vector>

#include "Workload.h"

namespace bench {

struct TypedElement {
    int id = 0;
    int slotNumber = 0;
    int partitionId = 0;
    int scsiType = 0;
    std::string geoLocation;
    std::string sourceGeoLocation;
    bool elementAccess = false;
    bool elementExcept = false;
    bool elementFull = false;
    std::string volser;
    std::string descriptor;
    bool scanInProgress = false;
};

constexpr const char* kInsert =
    "INSERT INTO library_element (slot_number, partition_id, scsi_type, geo_location, source_geo_location, "
    "element_access, element_except, element_full, volser, add_descriptor, scan_in_progress) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* kSelectAll =
    "SELECT id, slot_number, partition_id, scsi_type, geo_location, source_geo_location, element_access, "
    "element_except, element_full, volser, add_descriptor, scan_in_progress FROM library_element";
constexpr const char* kSelectById =
    "SELECT id, slot_number, partition_id, scsi_type, geo_location, source_geo_location, element_access, "
    "element_except, element_full, volser, add_descriptor, scan_in_progress FROM library_element WHERE id = ?";
constexpr const char* kUpdateVolser = "UPDATE library_element SET volser = ? WHERE id = ?";

// The rows to insert or the volsers to write, made before the measured part.
struct Fixture {
    void prepare(Workload workload, int rows) {
        samples.clear();
        volsers.clear();
        for (int i = 1; i <= rows; ++i) {
            if (workload == Workload::Insert || workload == Workload::InsertAutocommit) samples.push_back(sampleRow(i));
            if (workload == Workload::Update) volsers.push_back(updatedVolser(i));
        }
    }

    std::vector<Row> samples;
    std::vector<std::string> volsers;
    std::size_t received = 0;
};

}  // namespace bench

#endif
