#ifndef DBI_MEDIA_SETTINGS_H
#define DBI_MEDIA_SETTINGS_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace media {

#define DBI_MEDIA_SETTINGS_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")         \
    COLUMN(C, CharField, name, "name")        \
    COLUMN(C, IntegerField, value, "value")

/// A named integer setting of the media-test feature, one row per name.
class DBI_EXPORT Settings : public dbi::Table<Settings> {
    DBI_RECORD(Settings, DBI_MEDIA_SETTINGS_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Settings(const std::string& name, int value);

    /// The one row whose name is `name`; DBIException<DBI_NOT_FOUND> when none or several match.
    /// The name goes into the SQL text unescaped.
    static Settings getByName(std::string name, dbi::Transaction& transaction);
};

}  // namespace media
}  // namespace dbi

#endif
