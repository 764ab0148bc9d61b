#include "dbi/vigil/Settings.h"

namespace dbi {
namespace vigil {

DBI_RECORD_DEFINE(Settings, "vigil_settings", DBI_VIGIL_SETTINGS_COLUMNS)

Settings::Settings(const std::string& settingName, int settingValue) {
    m_name = settingName;
    m_value.setIntValue(settingValue);
}

Settings Settings::getByName(std::string name, dbi::Transaction& transaction) {
    return Query<Settings>().equals(Settings::name, name, m_tableName).get(transaction);
}

}  // namespace vigil
}  // namespace dbi
