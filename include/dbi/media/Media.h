#ifndef DBI_MEDIA_MEDIA_H
#define DBI_MEDIA_MEDIA_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

#define DBI_MEDIA_MEDIA_COLUMNS(COLUMN, C)                        \
    COLUMN(C, IntegerField, id, "id")                             \
    COLUMN(C, CharField, serialNumber, "serial_number")           \
    COLUMN(C, IntegerField, cartridgeType, "cartridge_type")      \
    COLUMN(C, CharField, manufacturer, "manufacturer")            \
    COLUMN(C, DateTimeField, manufactureDate, "manufacture_date") \
    COLUMN(C, BooleanField, blockProtection, "block_protection")

/// One cartridge known to the appliance, identified by its serial number.
/// The cartridge-memory and log-page rows of this feature point at it.
class DBI_EXPORT Media : public dbi::Table<Media> {
    DBI_RECORD(Media, DBI_MEDIA_MEDIA_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Media(const std::string& serialNumber, short cartridgeType, const std::string& manufacturer,
          const std::string& manufactureDate, bool blockProtection);
};

}  // namespace media
}  // namespace dbi

#endif
