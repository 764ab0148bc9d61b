#ifndef DBI_VIGIL_SETTINGS_H
#define DBI_VIGIL_SETTINGS_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

/// A named integer setting of the scanning feature, one row per name.
#define DBI_VIGIL_SETTINGS_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")         \
    COLUMN(C, CharField, name, "name")        \
    COLUMN(C, IntegerField, value, "value")

/// A row of table vigil_settings, with the columns DBI_VIGIL_SETTINGS_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT Settings : public dbi::Table<Settings> {
    DBI_RECORD(Settings, DBI_VIGIL_SETTINGS_COLUMNS)
public:
    /// A new row, without id until saved, holding these column values
    /// (in column order); every field counts as modified.
    Settings(const std::string& settingName, int settingValue);

    /// The one row with that name; DBIException<DBI_NOT_FOUND> when there
    /// is none or more than one.
    static Settings getByName(std::string name, dbi::Transaction& transaction);
};

}  // namespace vigil
}  // namespace dbi

#endif
