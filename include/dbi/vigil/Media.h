#ifndef DBI_VIGIL_MEDIA_H
#define DBI_VIGIL_MEDIA_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// One cartridge as the scanning feature tracks it: a pending immediate-scan
/// request, the copy attempts left and when each scan depth last ran.
#define DBI_VIGIL_MEDIA_COLUMNS(COLUMN, C)                                   \
    COLUMN(C, IntegerField, id, "id")                                        \
    COLUMN(C, CharField, serialNumber, "serial_number")                      \
    COLUMN(C, CharField, voltag, "voltag")                                   \
    COLUMN(C, IntegerField, scanNowType, "scan_now_type")                    \
    COLUMN(C, IntegerField, copyAttemptsRemaining, "copy_attempts_remaining") \
    COLUMN(C, DateTimeField, lastBasicScan, "last_basic_scan")               \
    COLUMN(C, DateTimeField, lastNormalScan, "last_normal_scan")             \
    COLUMN(C, DateTimeField, lastFullScan, "last_full_scan")

/// A row of table vigil_media, with the columns DBI_VIGIL_MEDIA_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Media : public dbi::Table<Media> {
    DBI_RECORD(Media, DBI_VIGIL_MEDIA_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Media(const std::string& serial, const std::string& volumeTag, int scanNow, int copyAttemptsLeft,
          const std::string& basicScanTime, const std::string& normalScanTime, const std::string& fullScanTime);
};

}  // namespace vigil
}  // namespace dbi

#endif
