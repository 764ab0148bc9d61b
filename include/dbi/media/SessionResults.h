#ifndef DBI_MEDIA_SESSIONRESULTS_H
#define DBI_MEDIA_SESSIONRESULTS_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Session;
class Media;

#define DBI_MEDIA_SESSIONRESULTS_COLUMNS(COLUMN, C)                          \
    COLUMN(C, IntegerField, id, "id")                                        \
    COLUMN(C, IntegerField, elementId, "element_id")                         \
    COLUMN(C, CharField, voltag, "voltag")                                   \
    COLUMN(C, ForeignKey<media::Session>, sessionId, "session_id")           \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")                 \
    COLUMN(C, CharField, driveId, "drive_id")                                \
    COLUMN(C, DateTimeField, lastRunDate, "last_run_date")                   \
    COLUMN(C, IntegerField, testState, "test_state")                         \
    COLUMN(C, IntegerField, testType, "test_type")                           \
    COLUMN(C, IntegerField, testResult, "test_result")                       \
    COLUMN(C, IntegerField, staticTestStatus, "static_test_status")          \
    COLUMN(C, IntegerField, staticTestErrorCode, "static_test_error_code")   \
    COLUMN(C, IntegerField, dynamicTestStatus, "dynamic_test_status")        \
    COLUMN(C, IntegerField, dynamicTestErrorCode, "dynamic_test_error_code") \
    COLUMN(C, IntegerField, priority, "priority")

/// The test of one cartridge in one session with its static and dynamic
/// outcomes. The element and cartridge appear both by id and by label (voltag).
class DBI_EXPORT SessionResults : public dbi::Table<SessionResults> {
    DBI_RECORD(SessionResults, DBI_MEDIA_SESSIONRESULTS_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    SessionResults(int elementId, const std::string& voltag, int sessionId, int mediaId, const std::string& driveId,
                   const std::string& lastRunDate, int testState, int testType, short testResult,
                   short staticTestStatus, int staticTestErrorCode, short dynamicTestStatus, int dynamicTestErrorCode,
                   int priority);
};

}  // namespace media
}  // namespace dbi

#endif
