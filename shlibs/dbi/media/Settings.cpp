#include "dbi/media/Settings.h"

namespace dbi {
namespace media {

DBI_RECORD_DEFINE(Settings, "media_settings", DBI_MEDIA_SETTINGS_COLUMNS)

Settings::Settings(const std::string& name, int value) {
    m_name = name;
    m_value.setIntValue(value);
}

Settings Settings::getByName(std::string name, dbi::Transaction& transaction) {
    return dbi::Query<Settings>().equals(Settings::name, name, m_tableName).get(transaction);
}

}  // namespace media
}  // namespace dbi
