#ifndef DBI_LIBRARY_PARTITION_H
#define DBI_LIBRARY_PARTITION_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

/// A logical partition of the library, known to the other processes by its
/// GUID text. media_label_checking is the robot controller's code.
#define DBI_LIBRARY_PARTITION_COLUMNS(COLUMN, C)                        \
    COLUMN(C, IntegerField, id, "id")                                   \
    COLUMN(C, CharField, guid, "guid")                                  \
    COLUMN(C, CharField, name, "name")                                  \
    COLUMN(C, IntegerField, mediaLabelChecking, "media_label_checking") \
    COLUMN(C, BooleanField, libraryManaged, "library_managed")          \
    COLUMN(C, BooleanField, online, "online")

/// A row of table library_partition, with the columns DBI_LIBRARY_PARTITION_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Partition : public dbi::Table<Partition> {
    DBI_RECORD(Partition, DBI_LIBRARY_PARTITION_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Partition(const std::string& guid, const std::string& name, int mediaLabelChecking, bool libraryManaged,
              bool online);

    /// The one partition with that GUID; DBIException<DBI_NOT_FOUND> when none
    /// or several match. The GUID goes into the SQL text unescaped.
    static Partition getByGuid(std::string guid, dbi::Transaction& transaction);
};

}  // namespace library
}  // namespace dbi

#endif
