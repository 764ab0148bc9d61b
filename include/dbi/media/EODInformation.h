#ifndef DBI_MEDIA_EODINFORMATION_H
#define DBI_MEDIA_EODINFORMATION_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_EODINFORMATION_COLUMNS(COLUMN, C)              \
    COLUMN(C, IntegerField, id, "id")                            \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")     \
    COLUMN(C, IntegerField, writePass, "write_pass")             \
    COLUMN(C, IntegerField, threadCount, "thread_count")         \
    COLUMN(C, BigIntegerField, recordCount, "record_count")      \
    COLUMN(C, BigIntegerField, fileMarkCount, "file_mark_count") \
    COLUMN(C, IntegerField, dataSetNumber, "data_set_number")    \
    COLUMN(C, IntegerField, wrapNumber, "wrap_number")           \
    COLUMN(C, IntegerField, validity, "validity")

/// Where the data on a cartridge ends: write pass, thread count, record and
/// file-mark counts, data set and wrap number, and a validity code.
class DBI_EXPORT EODInformation : public dbi::Table<EODInformation> {
    DBI_RECORD(EODInformation, DBI_MEDIA_EODINFORMATION_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    EODInformation(int mediaId, int writePass, int threadCount, long long recordCount, long long fileMarkCount,
                   int dataSetNumber, int wrapNumber, short validity);

    /// The one row whose media_id is `mediaId`; DBIException<DBI_NOT_FOUND> when none or several match.
    static EODInformation getByMediaId(int mediaId, dbi::Transaction& transaction);
};

}  // namespace media
}  // namespace dbi

#endif
