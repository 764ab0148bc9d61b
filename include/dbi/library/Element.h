#ifndef DBI_LIBRARY_ELEMENT_H
#define DBI_LIBRARY_ELEMENT_H

#include <string>
#include <vector>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

class Partition;

/// One storage, drive or transport element of the robot: where it is, which
/// partition it belongs to, its status flags and the label of the cartridge
/// it holds. scsi_type is the robot controller's element type code.
#define DBI_LIBRARY_ELEMENT_COLUMNS(COLUMN, C)                     \
    COLUMN(C, IntegerField, id, "id")                              \
    COLUMN(C, IntegerField, slotNumber, "slot_number")             \
    COLUMN(C, ForeignKey<Partition>, partitionId, "partition_id")  \
    COLUMN(C, IntegerField, scsiType, "scsi_type")                 \
    COLUMN(C, CharField, geoLocation, "geo_location")              \
    COLUMN(C, CharField, sourceGeoLocation, "source_geo_location") \
    COLUMN(C, BooleanField, elementAccess, "element_access")       \
    COLUMN(C, BooleanField, elementExcept, "element_except")       \
    COLUMN(C, BooleanField, elementFull, "element_full")           \
    COLUMN(C, CharField, volser, "volser")                         \
    COLUMN(C, ByteArrayField, addDescriptor, "add_descriptor")     \
    COLUMN(C, BooleanField, scanInProgress, "scan_in_progress")

/// A row of table library_element, with the columns DBI_LIBRARY_ELEMENT_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Element : public dbi::Table<Element> {
    DBI_RECORD(Element, DBI_LIBRARY_ELEMENT_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Element(int slotNumber, int partitionId, short scsiType, const std::string& geoLocation,
            const std::string& sourceGeoLocation, bool elementAccess, bool elementExcept, bool elementFull,
            const std::string& volser, std::vector<unsigned char> addDescriptor, bool scanInProgress);
};

}  // namespace library
}  // namespace dbi

#endif
