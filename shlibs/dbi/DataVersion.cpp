#include "DataVersion.h"

#include "dbi/DBIException.h"
#include "dbi/DBManager.h"

namespace dbi {

void DataVersion::mark() { marked = read(); }

bool DataVersion::changed() {
    const boost::optional<long long> current = read();
    if (!current) return false;
    if (marked && *current == *marked) return false;
    marked = current;
    return true;
}

boost::optional<long long> DataVersion::read() {
    boost::shared_ptr<sqlite3> current;
    try {
        current = DBManager::getConnection();
    } catch (const DBIBaseException&) {
        return boost::none;
    }
    // A reopened connection (after a storage failure) needs its own statement.
    if (current != connection && !prepareOn(current)) return boost::none;
    boost::optional<long long> version;
    if (sqlite3_step(statement.get()) == SQLITE_ROW) version = sqlite3_column_int64(statement.get(), 0);
    sqlite3_reset(statement.get());
    return version;
}

bool DataVersion::prepareOn(boost::shared_ptr<sqlite3> current) {
    statement.reset();
    connection = current;
    sqlite3_stmt* prepared = nullptr;
    const int status = sqlite3_prepare_v2(connection.get(), "PRAGMA data_version", -1, &prepared, nullptr);
    statement.reset(prepared);
    if (status == SQLITE_OK && prepared) return true;
    statement.reset();
    connection.reset();  // prepare again next time
    return false;
}

}  // namespace dbi
