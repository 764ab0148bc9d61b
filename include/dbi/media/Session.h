#ifndef DBI_MEDIA_SESSION_H
#define DBI_MEDIA_SESSION_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

#define DBI_MEDIA_SESSION_COLUMNS(COLUMN, C)                      \
    COLUMN(C, IntegerField, id, "id")                             \
    COLUMN(C, DateTimeField, startDate, "start_date")             \
    COLUMN(C, DateTimeField, endDate, "end_date")                 \
    COLUMN(C, IntegerField, numIncomplete, "num_incomplete")      \
    COLUMN(C, IntegerField, numGood, "num_good")                  \
    COLUMN(C, IntegerField, numBad, "num_bad")                    \
    COLUMN(C, IntegerField, numSuspect, "num_suspect")            \
    COLUMN(C, IntegerField, numUnsupported, "num_unsupported")    \
    COLUMN(C, IntegerField, testState, "test_state")              \
    COLUMN(C, BooleanField, continueOnError, "continue_on_error") \
    COLUMN(C, BooleanField, started, "started")

/// One media-test session: when it ran, whether it has started and goes on
/// past errors, and how many cartridges ended in each outcome.
class DBI_EXPORT Session : public dbi::Table<Session> {
    DBI_RECORD(Session, DBI_MEDIA_SESSION_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Session(const std::string& startDate, const std::string& endDate, int numIncomplete, int numGood, int numBad,
            int numSuspect, int numUnsupported, int testState, bool continueOnError, bool started);
};

}  // namespace media
}  // namespace dbi

#endif
