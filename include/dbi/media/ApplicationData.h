#ifndef DBI_MEDIA_APPLICATIONDATA_H
#define DBI_MEDIA_APPLICATIONDATA_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

class Media;

#define DBI_MEDIA_APPLICATIONDATA_COLUMNS(COLUMN, C)                    \
    COLUMN(C, IntegerField, id, "id")                                   \
    COLUMN(C, ForeignKey<media::Media>, mediaId, "media_id")            \
    COLUMN(C, CharField, vendor, "vendor")                              \
    COLUMN(C, CharField, name, "name")                                  \
    COLUMN(C, CharField, version, "version")                            \
    COLUMN(C, CharField, userTextLabel, "user_text_label")              \
    COLUMN(C, DateTimeField, lastWritten, "last_written")               \
    COLUMN(C, IntegerField, textLocalisationId, "text_localisation_id") \
    COLUMN(C, CharField, barcode, "barcode")                            \
    COLUMN(C, CharField, owningHost, "owning_host")                     \
    COLUMN(C, CharField, mediaPool, "media_pool")

/// What the writing application left in a cartridge's memory: vendor,
/// application name and version, user label, barcode, owning host, media pool.
class DBI_EXPORT ApplicationData : public dbi::Table<ApplicationData> {
    DBI_RECORD(ApplicationData, DBI_MEDIA_APPLICATIONDATA_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    ApplicationData(int mediaId, const std::string& vendor, const std::string& name, const std::string& version,
                    const std::string& userTextLabel, const std::string& lastWritten, short textLocalisationId,
                    const std::string& barcode, const std::string& owningHost, const std::string& mediaPool);

    /// The one row whose media_id is `mediaId`; DBIException<DBI_NOT_FOUND> when none or several match.
    static ApplicationData getByMediaId(int mediaId, dbi::Transaction& transaction);
};

}  // namespace media
}  // namespace dbi

#endif
