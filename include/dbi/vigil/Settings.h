#ifndef DBI_VIGIL_SETTINGS_H
#define DBI_VIGIL_SETTINGS_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

// A named integer setting of the scanning feature, one row per name.
#define DBI_VIGIL_SETTINGS_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")         \
    COLUMN(C, CharField, name, "name")        \
    COLUMN(C, IntegerField, value, "value")

class DBI_EXPORT Settings : public dbi::Table<Settings> {
    DBI_RECORD(Settings, DBI_VIGIL_SETTINGS_COLUMNS)
public:
    Settings(const std::string& settingName, int settingValue);

    // The one row with that name; DBIException<DBI_NOT_FOUND> when there
    // is none or more than one.
    static Settings getByName(std::string name, dbi::Transaction& transaction);
};

}  // namespace vigil
}  // namespace dbi

#endif
