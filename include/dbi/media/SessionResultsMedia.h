#ifndef DBI_MEDIA_SESSIONRESULTSMEDIA_H
#define DBI_MEDIA_SESSIONRESULTSMEDIA_H

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

#define DBI_MEDIA_SESSIONRESULTSMEDIA_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")                    \
    COLUMN(C, IntegerField, sessionId, "session_id")

/// Links a test session to its media results. session_id is a plain integer,
/// not a reference to the session row.
class DBI_EXPORT SessionResultsMedia : public dbi::Table<SessionResultsMedia> {
    DBI_RECORD(SessionResultsMedia, DBI_MEDIA_SESSIONRESULTSMEDIA_COLUMNS)
public:
    /// A new row, without id until saved, holding this column value.
    explicit SessionResultsMedia(int sessionId);
};

}  // namespace media
}  // namespace dbi

#endif
