#ifndef DBI_MEDIA_WRITEPASS_H
#define DBI_MEDIA_WRITEPASS_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_WRITEPASS_COLUMNS(COLUMN, C)               \
    COLUMN(C, IntegerField, id, "id")                        \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id") \
    COLUMN(C, IntegerField, writePass0, "write_pass_0")      \
    COLUMN(C, IntegerField, writePass1, "write_pass_1")      \
    COLUMN(C, IntegerField, writePass2, "write_pass_2")      \
    COLUMN(C, IntegerField, writePass3, "write_pass_3")      \
    COLUMN(C, IntegerField, writePass4, "write_pass_4")      \
    COLUMN(C, IntegerField, writePass5, "write_pass_5")      \
    COLUMN(C, IntegerField, writePass6, "write_pass_6")      \
    COLUMN(C, IntegerField, writePass7, "write_pass_7")

/// The eight write-pass values kept for a cartridge.
class DBI_EXPORT WritePass : public dbi::Table<WritePass> {
    DBI_RECORD(WritePass, DBI_MEDIA_WRITEPASS_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    WritePass(int mediaId, int writePass0, int writePass1, int writePass2, int writePass3, int writePass4,
              int writePass5, int writePass6, int writePass7);

    /// The one row whose media_id is `mediaId`; DBIException<DBI_NOT_FOUND> when none or several match.
    static WritePass getByMediaId(int mediaId, dbi::Transaction& transaction);
};

}  // namespace media
}  // namespace dbi

#endif
