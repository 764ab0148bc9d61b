#ifndef DBI_MEDIA_WRAPENTRY_H
#define DBI_MEDIA_WRAPENTRY_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_WRAPENTRY_COLUMNS(COLUMN, C)                       \
    COLUMN(C, IntegerField, id, "id")                                \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")         \
    COLUMN(C, IntegerField, wrapEntryNum, "wrap_entry_num")          \
    COLUMN(C, IntegerField, writePass, "write_pass")                 \
    COLUMN(C, IntegerField, dataSet, "data_set")                     \
    COLUMN(C, IntegerField, howCount, "how_count")                   \
    COLUMN(C, IntegerField, eowCount, "eow_count")                   \
    COLUMN(C, IntegerField, howFileMarkCount, "how_file_mark_count") \
    COLUMN(C, IntegerField, eowFileMarkCount, "eow_file_mark_count") \
    COLUMN(C, IntegerField, fileMarkMap, "file_mark_map")

/// One entry of a cartridge's wrap table: write pass, data set, record and
/// file-mark counts at the head and end of the wrap, and the file-mark map.
class DBI_EXPORT WrapEntry : public dbi::Table<WrapEntry> {
    DBI_RECORD(WrapEntry, DBI_MEDIA_WRAPENTRY_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    WrapEntry(int mediaId, int wrapEntryNum, int writePass, int dataSet, int howCount, int eowCount,
              int howFileMarkCount, int eowFileMarkCount, int fileMarkMap);
};

}  // namespace media
}  // namespace dbi

#endif
