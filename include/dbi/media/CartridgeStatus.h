#ifndef DBI_MEDIA_CARTRIDGESTATUS_H
#define DBI_MEDIA_CARTRIDGESTATUS_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_CARTRIDGESTATUS_COLUMNS(COLUMN, C)               \
    COLUMN(C, IntegerField, id, "id")                              \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")       \
    COLUMN(C, BigIntegerField, tapeAlertFlags, "tape_alert_flags") \
    COLUMN(C, IntegerField, threadCount, "thread_count")           \
    COLUMN(C, IntegerField, status, "status")                      \
    COLUMN(C, BigIntegerField, firstEncryptedLogicalObject, "first_encrypted_logical_object")

/// Status read from a cartridge's memory: the TapeAlert flags as one 64-bit
/// value, thread count, a status code and the first encrypted logical object.
class DBI_EXPORT CartridgeStatus : public dbi::Table<CartridgeStatus> {
    DBI_RECORD(CartridgeStatus, DBI_MEDIA_CARTRIDGESTATUS_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    CartridgeStatus(int mediaId, long long tapeAlertFlags, int threadCount, short status,
                    long long firstEncryptedLogicalObject);

    /// The one row whose media_id is `mediaId`; DBIException<DBI_NOT_FOUND> when none or several match.
    static CartridgeStatus getByMediaId(int mediaId, dbi::Transaction& transaction);
};

}  // namespace media
}  // namespace dbi

#endif
